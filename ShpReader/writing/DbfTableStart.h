#pragma once

#include "Ambrel/BAttribute.h"
#include "ShpReader/format/DbfFormat.h"

#include <span>
#include <string>
#include <vector>

/// What stands in a new table before its first row.
namespace Ambrel {

/// The schema as a table will have it: text fields at most 254 bytes wide, decimals only where the
/// type has them, names cut to 10 bytes and kept distinct. Throws BAttributeDataException
/// (`operation`, "Field=name, reason") for what a header cannot hold.
BAttributeDefs LimitDbfSchema(BAttributeDefs const& schema, char const* operation);

/// The header of a table without rows, dated today. REQUIRES: `fields` comes from LimitDbfSchema.
DbfHeader MakeDbfHeader(BAttributeDefs const& fields);
/// Header, field descriptors and terminator. `names`: the fields' names as the table has them.
/// REQUIRES: likewise; as many names as fields, each of at most 10 bytes.
std::vector<char> EncodeDbfTableStart(DbfHeader const& header, BAttributeDefs const& fields,
                                      std::span<std::string const> names);

} // namespace Ambrel
