#include "cache/BlockFile.h"

#include "Ambrel/BException.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <new>
#include <sqlite3.h>

namespace Ambrel {

namespace {

QString FileTemplate(BString const& baseName) {
    QString const start = baseName.IsEmpty() ? QDir::tempPath() + QStringLiteral("/AmbrelCache")
                                             : MakeQString(baseName);
    return start + QStringLiteral("-%1-XXXXXX.cache").arg(QCoreApplication::applicationPid());
}

/// Large pages, as blocks are large; a small cache, as blocks that are in use are kept outside. The
/// one transaction that is never ended keeps what is written in that cache, and on disk beyond it.
constexpr char const* setUp = "PRAGMA page_size=65536;"
                              "PRAGMA journal_mode=OFF;"
                              "PRAGMA synchronous=OFF;"
                              "PRAGMA locking_mode=EXCLUSIVE;"
                              "PRAGMA cache_size=-2048;"
                              "PRAGMA temp_store=MEMORY;"
                              "CREATE TABLE block(id INTEGER PRIMARY KEY, bytes BLOB NOT NULL);"
                              "BEGIN EXCLUSIVE;";

/// Makes a statement ready for its next use, also when the current one fails.
class ResetAtEnd final {
public:
    explicit ResetAtEnd(sqlite3_stmt* prepared) noexcept : statement(prepared) {}
    ResetAtEnd(ResetAtEnd const&) = delete;
    ResetAtEnd& operator=(ResetAtEnd const&) = delete;
    ~ResetAtEnd() {
        sqlite3_reset(statement);
        sqlite3_clear_bindings(statement);
    }

private:
    sqlite3_stmt* statement;
};

} // namespace

void BlockFile::CloseDatabase::operator()(sqlite3* database) const noexcept {
    sqlite3_close(database);
}

void BlockFile::FinishStatement::operator()(sqlite3_stmt* statement) const noexcept {
    sqlite3_finalize(statement);
}

BlockFile::BlockFile(BString const& baseName) : file(FileTemplate(baseName)) {
    if (!file.open()) {
        throw BResourceException("BlockFile::BlockFile",
                                 BString::FromQString(FileTemplate(baseName) +
                                                      QStringLiteral(": ") + file.errorString()));
    }
    name = BString::FromQString(file.fileName());
    // The name in the bytes that the system knows it by, whatever the locale is.
    QByteArray const encoded = QFile::encodeName(file.fileName());
    sqlite3* opened = nullptr;
    int const code = sqlite3_open_v2(encoded.constData(), &opened,
                                     SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    database.reset(opened);
    if (code != SQLITE_OK) {
        Fail("BlockFile::BlockFile", code);
    }
    Execute(setUp);
    write = Prepare("INSERT OR REPLACE INTO block VALUES(?1, ?2)");
    read = Prepare("SELECT bytes FROM block WHERE id = ?1");
    remove = Prepare("DELETE FROM block WHERE id = ?1");
    if (baseName.IsEmpty()) {
        file.remove();
    }
}

BlockFile::~BlockFile() = default;

void BlockFile::Execute(char const* sql) {
    int const code = sqlite3_exec(database.get(), sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) {
        Fail("BlockFile::BlockFile", code);
    }
}

BlockFile::Statement BlockFile::Prepare(char const* sql) {
    sqlite3_stmt* statement = nullptr;
    int const code = sqlite3_prepare_v2(database.get(), sql, -1, &statement, nullptr);
    if (code != SQLITE_OK) {
        Fail("BlockFile::BlockFile", code);
    }
    return Statement(statement);
}

void BlockFile::RequireSound(char const* operation) const {
    if (failure != SQLITE_OK) {
        Fail(operation, failure);
    }
}

void BlockFile::Change(char const* operation, sqlite3_stmt* statement) {
    int const code = sqlite3_step(statement);
    if (code != SQLITE_DONE) {
        failure = code;
        Fail(operation, code);
    }
}

void BlockFile::Write(std::int64_t id, BByteArray const& bytes) {
    RequireSound("BlockFile::Write");
    ResetAtEnd const reset(write.get());
    sqlite3_bind_int64(write.get(), 1, id);
    int const code = sqlite3_bind_blob64(write.get(), 2, bytes.data(), bytes.size(), SQLITE_STATIC);
    if (code != SQLITE_OK) {
        Fail("BlockFile::Write", code); // too large; nothing is changed
    }
    Change("BlockFile::Write", write.get());
}

BByteArray BlockFile::Read(std::int64_t id) {
    RequireSound("BlockFile::Read");
    ResetAtEnd const reset(read.get());
    sqlite3_bind_int64(read.get(), 1, id);
    int const code = sqlite3_step(read.get());
    if (code != SQLITE_ROW) {
        Fail("BlockFile::Read", code == SQLITE_DONE ? SQLITE_CORRUPT : code);
    }
    auto const* const bytes = static_cast<std::uint8_t const*>(sqlite3_column_blob(read.get(), 0));
    if (!bytes) {
        Fail("BlockFile::Read", sqlite3_errcode(database.get()));
    }
    return BByteArray(bytes, bytes + sqlite3_column_bytes(read.get(), 0));
}

void BlockFile::Remove(std::int64_t id) {
    RequireSound("BlockFile::Remove");
    ResetAtEnd const reset(remove.get());
    sqlite3_bind_int64(remove.get(), 1, id);
    Change("BlockFile::Remove", remove.get());
}

void BlockFile::Fail(char const* operation, int code) const {
    if (code == SQLITE_NOMEM) {
        throw std::bad_alloc();
    }
    throw BResourceException(operation,
                             BString::Format("%s: %s", name.Ascii(), sqlite3_errstr(code)));
}

} // namespace Ambrel
