#pragma once

#include "Ambrel/BAttribute.h"

#include <set>
#include <string>
#include <vector>

namespace Ambrel::Tool {

/// Whether "NAME" and "name" are one name, as they are in SQL.
enum class NameCase { Counts, Ignored };

/// The names of the fields, all different and none of those that are `taken`: tables may have a
/// name twice, but who reads "NAME" twice in a JSON object or a CSV header keeps one of the two.
/// The first keeps its name; the others get a number, "NAME_2".
std::vector<std::string> ColumnNames(BAttributeDefs const& schema, std::set<std::string> taken,
                                     NameCase nameCase = NameCase::Counts);

/// The name, or the first of "NAME_2", "NAME_3", ... that is not taken; it is then.
std::string DistinctName(std::string const& name, std::set<std::string>& taken, NameCase nameCase);

} // namespace Ambrel::Tool
