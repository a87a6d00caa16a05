#include "sql/RecordFilter.h"

#include "sql/Query.h"

#include <sqlite3.h>

namespace Ambrel::Tool {

RecordFilter::RecordFilter(Console& console, BString const& file, SourceOptions options,
                           std::string const& expression) {
    options.mode = HoldMode::Direct;
    options.useAttributes = true;
    options.attributeZ.clear();
    Query query(console);
    std::string const begin =
        "SELECT rowid FROM " + QuotedName(query.AddLayer(file, options)) + " WHERE (";
    query.Run(
        begin + expression + "\n)", // a comment at its end would take the bracket too
        {.source = "--where: ", .text = expression, .offset = begin.size()}, [](sqlite3_stmt*) {},
        [this](sqlite3_stmt* row) {
            auto const record = static_cast<std::uint64_t>(sqlite3_column_int64(row, 0));
            if (record >= contained.size()) {
                contained.resize(record + 1);
            }
            contained[record] = true;
        });
}

std::vector<std::uint64_t> RecordFilter::Records() const {
    std::vector<std::uint64_t> records;
    for (std::uint64_t record = 0; record < contained.size(); ++record) {
        if (contained[record]) {
            records.push_back(record);
        }
    }
    return records;
}

} // namespace Ambrel::Tool
