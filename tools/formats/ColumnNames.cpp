#include "formats/ColumnNames.h"

namespace Ambrel::Tool {

std::vector<std::string> ColumnNames(BAttributeDefs const& schema, std::set<std::string> taken) {
    std::vector<bool> isFirst(schema.GetCount());
    for (std::uint64_t i = 0; i < schema.GetCount(); ++i) {
        isFirst[i] = taken.emplace(schema.GetAt(i).name.Utf8()).second;
    }
    std::vector<std::string> names;
    for (std::uint64_t i = 0; i < schema.GetCount(); ++i) {
        std::string const name(schema.GetAt(i).name.Utf8());
        std::string column = name;
        for (int number = 2; !isFirst[i] && !taken.insert(column).second; ++number) {
            column = name + "_" + std::to_string(number);
        }
        names.push_back(column);
    }
    return names;
}

} // namespace Ambrel::Tool
