#include "formats/ColumnNames.h"

#include <algorithm>

namespace Ambrel::Tool {

namespace {

/// What two names that are one have in common. SQL looks at the case of ASCII letters alone.
std::string KeyOf(std::string name, NameCase nameCase) {
    if (nameCase == NameCase::Ignored) {
        std::transform(name.begin(), name.end(), name.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    }
    return name;
}

} // namespace

std::vector<std::string> ColumnNames(BAttributeDefs const& schema, std::set<std::string> taken,
                                     NameCase nameCase) {
    std::vector<bool> isFirst(schema.GetCount());
    for (std::uint64_t i = 0; i < schema.GetCount(); ++i) {
        std::string const name(schema.GetAt(i).name.Utf8());
        isFirst[i] = taken.insert(KeyOf(name, nameCase)).second;
    }
    std::vector<std::string> names;
    for (std::uint64_t i = 0; i < schema.GetCount(); ++i) {
        std::string const name(schema.GetAt(i).name.Utf8());
        names.push_back(isFirst[i] ? name : DistinctName(name, taken, nameCase));
    }
    return names;
}

std::string DistinctName(std::string const& name, std::set<std::string>& taken, NameCase nameCase) {
    std::string distinct = name;
    for (int number = 2; !taken.insert(KeyOf(distinct, nameCase)).second; ++number) {
        distinct = name + "_" + std::to_string(number);
    }
    return distinct;
}

} // namespace Ambrel::Tool
