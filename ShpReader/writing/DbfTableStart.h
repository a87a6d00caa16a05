#pragma once

#include "Ambrel/BAttribute.h"
#include "ShpReader/format/DbfFormat.h"

#include <vector>

/// What stands in a new table before its first row.
namespace Ambrel {

/// The schema as a table will have it: text fields at most 254 bytes wide, decimals only where the
/// type has them, names cut to 10 bytes and kept distinct. Throws BAttributeDataException
/// ("BDbfFile::PrepareForWriting", "Field=name, reason") for what a header cannot hold.
BAttributeDefs LimitDbfSchema(BAttributeDefs const& schema);

/// The header of a table without rows, dated today. REQUIRES: `fields` comes from LimitDbfSchema.
DbfHeader MakeDbfHeader(BAttributeDefs const& fields);
/// Header, field descriptors and terminator. REQUIRES: likewise.
std::vector<char> EncodeDbfTableStart(DbfHeader const& header, BAttributeDefs const& fields);

} // namespace Ambrel
