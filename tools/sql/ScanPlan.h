#pragma once

#include "sql/LayerTable.h"

#include <optional>
#include <string>

struct sqlite3_index_info;
struct sqlite3_value;

namespace Ambrel::Tool {

/// How the rows of a layer will be found for a query: what SQLite is told when it looks for the
/// best way, and what it gives back as a text when it takes that way. Every plan gives all rows
/// that the constraints allow, and may give more: SQLite looks at each again.
struct ScanPlan {
    ColumnSet columns = 0;        ///< that the query needs
    std::optional<int> keyColumn; ///< to look the rows up by, where the value to be met is its own
    std::string arguments;        ///< what each value of a constraint is for: an Argument each

    enum Argument : char {
        RecordIs = '=',
        RecordFrom = '>',
        RecordTo = '<',
        RightOf = 'r', ///< the area begins here
        LeftOf = 'l',  ///< the area ends here
        AtX = 'x',     ///< both
        Above = 'a',
        Below = 'b',
        AtY = 'y',
        Key = 'k',
    };

    /// Reads Text().
    static ScanPlan FromText(std::string const& text);
    std::string Text() const;
};

/// Makes the plan for what SQLite asks, and tells it what the plan costs.
void ChoosePlan(LayerTable const& table, sqlite3_index_info& question);

/// What the values of the plan's constraints leave of a layer.
struct ScanRange {
    std::uint64_t first = 0;
    std::uint64_t end = 0;
    std::optional<BRect> area;

    /// `values`: one for each argument.
    ScanRange(LayerTable const& table, ScanPlan const& plan, sqlite3_value** values);

private:
    void Narrow(char argument, double bound);
};

} // namespace Ambrel::Tool
