#pragma once

#include "sql/Database.h"
#include "sql/LayerModule.h"

#include <functional>
#include <set>
#include <string>
#include <vector>

struct sqlite3_stmt;

namespace Ambrel::Tool {

/// Where in a text that the user has written an error of SQL is shown.
struct SqlText {
    std::string source;     ///< "--where", or empty
    std::string text;       ///< what the user has written
    std::size_t offset = 0; ///< where it stands in the statement that is run
};

/// Asks layers by SQL, and does nothing but ask: statements that would change anything, reach for
/// other files or load code are refused.
class Query final {
public:
    using Consumer = std::function<void(sqlite3_stmt* row)>;

    explicit Query(Console& usedConsole);

    /// Adds the layer as a table. A name that a table has already, in any case of letters, gets a
    /// number. Returns the table's name. Throws what opening the file throws.
    std::string const& AddLayer(BString const& file, SourceOptions const& options);
    /// Runs one statement and hands its rows on. `begin` gets the statement before the first.
    /// Throws UsageException for wrong SQL, whose place is shown on standard error before,
    /// InterruptedException, and what the consumers throw.
    void Run(std::string const& sql, SqlText const& written, Consumer const& begin,
             Consumer const& consume);
    /// Records that could not be read, and have been left out.
    std::uint64_t Problems() const;

private:
    void Restrict();
    bool IsBlank(char const* sql) const;
    [[noreturn]] void Refuse(SqlText const& written, int offset);
    [[noreturn]] void Fail();

    Console& console;
    LayerCatalogue catalogue; ///< outlives the connection
    std::set<std::string> names;
    Database database;
    bool isRestricted = false;
};

} // namespace Ambrel::Tool
