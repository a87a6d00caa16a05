#include "sql/Database.h"

#include <sqlite3.h>

namespace Ambrel::Tool {

namespace {

std::string Quoted(std::string_view text, char mark) {
    std::string quoted(1, mark);
    for (char const c : text) {
        quoted.append(c == mark ? 2 : 1, c);
    }
    return quoted + mark;
}

} // namespace

SqlException::SqlException(sqlite3* connection)
    : SqlException(connection ? sqlite3_errcode(connection) : SQLITE_NOMEM,
                   connection ? sqlite3_errmsg(connection) : "out of memory") {}

SqlException::SqlException(int resultCode, std::string const& text)
    : BException("Ambrel Exception", BString(), BString::FromUtf8(text)), code(resultCode & 0xFF) {}

Database::Database(std::string const& path) {
    sqlite3* opened = nullptr;
    int const result =
        sqlite3_open_v2(path.c_str(), &opened,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    connection.reset(opened);
    if (result != SQLITE_OK) {
        throw SqlException(opened);
    }
}

void Database::Execute(std::string const& sql) {
    if (sqlite3_exec(connection.get(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        throw SqlException(connection.get());
    }
}

void Database::Close::operator()(sqlite3* handle) const noexcept {
    sqlite3_close_v2(handle);
}

Statement::Statement(Database& database, std::string_view sql) : connection(database.Handle()) {
    sqlite3_stmt* prepared = nullptr;
    int const result = sqlite3_prepare_v2(connection, sql.data(), static_cast<int>(sql.size()),
                                          &prepared, nullptr);
    statement.reset(prepared);
    Require(result);
}

void Statement::Finalize::operator()(sqlite3_stmt* handle) const noexcept {
    sqlite3_finalize(handle);
}

void Statement::Require(int result) const {
    if (result != SQLITE_OK) {
        throw SqlException(connection);
    }
}

Statement& Statement::Bind(int parameter, std::int64_t value) {
    Require(sqlite3_bind_int64(statement.get(), parameter, value));
    return *this;
}
Statement& Statement::Bind(int parameter, double value) {
    Require(sqlite3_bind_double(statement.get(), parameter, value));
    return *this;
}
Statement& Statement::Bind(int parameter, std::string_view text) {
    Require(sqlite3_bind_text64(statement.get(), parameter, text.data() ? text.data() : "",
                                text.size(), SQLITE_STATIC, SQLITE_UTF8));
    return *this;
}
Statement& Statement::BindBlob(int parameter, std::string_view bytes) {
    Require(sqlite3_bind_blob64(statement.get(), parameter, bytes.data() ? bytes.data() : "",
                                bytes.size(), SQLITE_STATIC));
    return *this;
}
Statement& Statement::BindNull(int parameter) {
    Require(sqlite3_bind_null(statement.get(), parameter));
    return *this;
}

bool Statement::Step() {
    switch (sqlite3_step(statement.get())) {
    case SQLITE_ROW: return true;
    case SQLITE_DONE: sqlite3_reset(statement.get()); return false;
    default: {
        SqlException const failure(connection);
        sqlite3_reset(statement.get());
        throw SqlException(failure);
    }
    }
}

int Statement::Columns() const {
    return sqlite3_column_count(statement.get());
}
std::int64_t Statement::Integer(int column) const {
    return sqlite3_column_int64(statement.get(), column);
}
double Statement::Real(int column) const {
    return sqlite3_column_double(statement.get(), column);
}
std::string_view Statement::Text(int column) const {
    auto const* const bytes =
        static_cast<char const*>(sqlite3_column_blob(statement.get(), column));
    return {bytes ? bytes : "",
            static_cast<std::size_t>(sqlite3_column_bytes(statement.get(), column))};
}

std::string QuotedName(std::string_view name) {
    return Quoted(name, '"');
}
std::string QuotedText(std::string_view text) {
    return Quoted(text, '\'');
}

} // namespace Ambrel::Tool
