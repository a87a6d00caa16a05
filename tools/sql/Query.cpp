#include "sql/Query.h"

#include "formats/ColumnNames.h"
#include "terminal/Console.h"
#include "terminal/Interrupt.h"

#include "Ambrel/BFileUtilities.h"

#include <algorithm>
#include <string_view>

#include <sqlite3.h>

namespace Ambrel::Tool {

namespace {

constexpr int stepsBetweenChecks = 10000; // of SQLite's machine, for an interruption

/// Functions that reach beyond the data, of SQLite or of builds that add some.
constexpr std::string_view refusedFunctions[] = {"load_extension", "readfile", "writefile", "edit",
                                                 "fts3_tokenizer", "lsdir",    "zipfile"};
template <class List>
bool IsIn(List const& list, char const* name) {
    return name && std::any_of(std::begin(list), std::end(list), [=](std::string_view known) {
               return sqlite3_stricmp(std::string(known).c_str(), name) == 0;
           });
}

int Authorize(void*, int action, char const*, char const* second, char const*,
              char const*) noexcept {
    switch (action) {
    case SQLITE_SELECT:
    case SQLITE_READ:
    case SQLITE_RECURSIVE: return SQLITE_OK;
    case SQLITE_FUNCTION: return IsIn(refusedFunctions, second) ? SQLITE_DENY : SQLITE_OK;
    default: return SQLITE_DENY;
    }
}

/// The line of the text in which the offset lies, and a caret below the character.
std::string PlaceIn(std::string_view text, std::size_t offset) {
    offset = std::min(offset, text.size());
    std::size_t const before = text.rfind('\n', offset == 0 ? 0 : offset - 1);
    std::size_t const start = before == std::string_view::npos || offset == 0 ? 0 : before + 1;
    std::string_view const line = text.substr(start, text.find('\n', start) - start);
    std::string const left = OneLine(line.substr(0, offset - start));
    auto const isFirstByte = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
    auto const characters = std::count_if(left.begin(), left.end(), isFirstByte);
    return "  " + OneLine(line) + "\n" +
           std::string(static_cast<std::size_t>(characters) + 2, ' ') + "^\n";
}

} // namespace

Query::Query(Console& usedConsole) : console(usedConsole), database(":memory:") {
    sqlite3* const handle = database.Handle();
    sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_limit(handle, SQLITE_LIMIT_ATTACHED, 0);
    sqlite3_progress_handler(
        handle, stepsBetweenChecks, [](void*) { return IsInterrupted() ? 1 : 0; }, nullptr);
    RegisterLayerModule(database, catalogue);
}

std::string const& Query::AddLayer(BString const& file, SourceOptions const& options) {
    std::string wanted(BFileUtilities::GetBasename(file).Utf8());
    if (sqlite3_strnicmp(wanted.c_str(), "sqlite_", 7) == 0) { // SQLite's own
        wanted.insert(0, "layer_");
    }
    std::string const name = DistinctName(wanted, names, NameCase::Ignored);
    catalogue.tables.push_back(std::make_unique<LayerTable>(console, file, options, name));
    database.Execute("CREATE VIRTUAL TABLE " + QuotedName(name) + " USING ambrel(" +
                     std::to_string(catalogue.tables.size() - 1) + ")");
    return catalogue.tables.back()->Name();
}

void Query::Restrict() {
    if (!isRestricted) {
        sqlite3_db_config(database.Handle(), SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
        sqlite3_set_authorizer(database.Handle(), Authorize, nullptr);
        isRestricted = true;
    }
}

void Query::Run(std::string const& sql, SqlText const& written, Consumer const& begin,
                Consumer const& consume) {
    Restrict();
    sqlite3* const handle = database.Handle();
    sqlite3_stmt* prepared = nullptr;
    char const* rest = nullptr;
    int const result = sqlite3_prepare_v2(handle, sql.c_str(), -1, &prepared, &rest);
    std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> const statement(prepared,
                                                                          sqlite3_finalize);
    if (result != SQLITE_OK) {
        Refuse(written, sqlite3_error_offset(handle));
    }
    if (!prepared || !IsBlank(rest)) {
        throw UsageException(written.source +
                             (prepared ? "one statement at a time" : "there is no statement"));
    }
    if (!sqlite3_stmt_readonly(prepared)) {
        throw UsageException(written.source + "only questions are answered");
    }
    begin(prepared);
    int step = SQLITE_OK;
    while ((step = sqlite3_step(prepared)) == SQLITE_ROW) {
        consume(prepared);
    }
    if (step != SQLITE_DONE) {
        Fail();
    }
}

/// Whether there is nothing but blanks, comments and semicolons.
bool Query::IsBlank(char const* sql) const {
    sqlite3_stmt* statement = nullptr;
    int const result = sqlite3_prepare_v2(database.Handle(), sql, -1, &statement, nullptr);
    sqlite3_finalize(statement);
    return result == SQLITE_OK && !statement;
}

void Query::Refuse(SqlText const& written, int offset) {
    std::string message = sqlite3_errmsg(database.Handle());
    if (sqlite3_errcode(database.Handle()) == SQLITE_AUTH) {
        message = "only questions are answered: " + message;
    }
    auto const place = static_cast<std::size_t>(std::max(offset, 0));
    if (offset >= 0 && place >= written.offset) {
        console.err.Write(PlaceIn(written.text, place - written.offset));
    }
    throw UsageException(written.source + message);
}

void Query::Fail() {
    if (catalogue.failure) {
        std::rethrow_exception(std::exchange(catalogue.failure, nullptr));
    }
    if (sqlite3_errcode(database.Handle()) == SQLITE_INTERRUPT) {
        throw InterruptedException();
    }
    throw SqlException(database.Handle());
}

std::uint64_t Query::Problems() const {
    std::uint64_t problems = 0;
    for (auto const& table : catalogue.tables) {
        problems += table->Problems();
    }
    return problems;
}

} // namespace Ambrel::Tool
