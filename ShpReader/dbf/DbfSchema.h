#pragma once

#include "Ambrel/BAttribute.h"
#include "ShpReader/dbf/DbfFieldTypes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Ambrel {

class BInputFile;
struct DbfHeader;
class TextDecoder;

/// Where a field stands in a row, and what its values are.
struct DbfField {
    FieldType const* type;
    std::int32_t offset; ///< bytes
    std::int32_t width;  ///< bytes
};

/// The fields of a table that are read.
struct DbfSchema {
    BAttributeDefs definitions;
    std::vector<DbfField> fields; ///< parallel to the definitions
    std::uint32_t rowLength = 0;  ///< bytes that deletion flag and all fields of the table take
};

/// Reads the descriptors behind the header: as many as the header has room for and the file holds
/// whole, but for the fields that are not wanted.
DbfSchema ReadDbfSchema(BInputFile const& file, DbfHeader const& header, TextDecoder const& decoder,
                        std::optional<std::vector<std::string>> const& wantedNames);
/// A row of default values.
BAttributes MakeDefaultRow(DbfSchema const& schema);
/// A row of nulls.
BAttributes MakeNullRow(DbfSchema const& schema);

} // namespace Ambrel
