#pragma once

#include "Ambrel/BException.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace Ambrel::Tool {

/// What SQLite refuses.
class SqlException final : public BException {
public:
    /// The last failure of the connection, which may be null where there was no memory for one.
    explicit SqlException(sqlite3* connection);
    SqlException(int resultCode, std::string const& text);
    char const* GetClassName() const noexcept override { return "SqlException"; }
    /// SQLite's result code, without its extension.
    int Code() const noexcept { return code; }

private:
    int code;
};

/// A connection to a database of SQLite, for one thread.
class Database final {
public:
    /// `path` ":memory:": no file; empty: a temporary one. Throws SqlException, as every operation
    /// does.
    explicit Database(std::string const& path);

    sqlite3* Handle() const noexcept { return connection.get(); }
    /// Runs statements that have no results that anybody wants.
    void Execute(std::string const& sql);

private:
    struct Close {
        void operator()(sqlite3* handle) const noexcept;
    };
    std::unique_ptr<sqlite3, Close> connection;
};

/// A prepared statement. Parameters count from 1, columns from 0.
class Statement final {
public:
    /// Throws SqlException, as every operation does.
    Statement(Database& database, std::string_view sql);

    sqlite3_stmt* Handle() const noexcept { return statement.get(); }
    Statement& Bind(int parameter, std::int64_t value);
    Statement& Bind(int parameter, double value);
    /// The text, or bytes, must live unchanged until the statement has been run.
    Statement& Bind(int parameter, std::string_view text);
    Statement& BindBlob(int parameter, std::string_view bytes);
    Statement& BindNull(int parameter);
    /// The next row; false when there is none, and then the statement is ready to be run again.
    bool Step();
    /// Runs it to its end, once.
    void Run() {
        while (Step()) {
        }
    }
    int Columns() const;
    std::int64_t Integer(int column) const;
    double Real(int column) const;
    /// Text, or the bytes of a blob; valid until the next step.
    std::string_view Text(int column) const;

private:
    struct Finalize {
        void operator()(sqlite3_stmt* handle) const noexcept;
    };
    void Require(int result) const;

    sqlite3* connection;
    std::unique_ptr<sqlite3_stmt, Finalize> statement;
};

/// The name in quotation marks, as SQL has identifiers.
std::string QuotedName(std::string_view name);
/// The text as a literal of SQL.
std::string QuotedText(std::string_view text);

} // namespace Ambrel::Tool
