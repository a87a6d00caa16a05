#pragma once

#include <memory>
#include <string>
#include <string_view>

struct sqlite3_stmt;

namespace Ambrel::Tool {

class OutputFile;

/// Prints the rows of a query in one of the forms that `sql` knows.
class ResultPrinter {
public:
    ResultPrinter() noexcept = default;
    ResultPrinter(ResultPrinter const&) = delete;
    ResultPrinter& operator=(ResultPrinter const&) = delete;
    virtual ~ResultPrinter() = default;

    /// What stands before the first row.
    virtual void Begin(sqlite3_stmt* statement) = 0;
    virtual void Row(sqlite3_stmt* row) = 0;
    /// What stands behind the last.
    virtual void End() = 0;
};

/// `form`: "csv", "json" or "table".
std::unique_ptr<ResultPrinter> MakeResultPrinter(std::string_view form, OutputFile& output);

} // namespace Ambrel::Tool
