#pragma once

#include "Ambrel/BAttribute.h"
#include "ShpReader/writing/TextEncoder.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Ambrel {

/// The rows of a table from attributes by their names. Nothing is cut: what a field cannot hold is
/// an error.
class RowBuilder {
public:
    /// `schema`: the fields as the host knows them; where a width is 0, one is chosen that holds
    /// every value of the type. Throws BAttributeDataException (`operation`, "Field=name, reason")
    /// for what a table cannot hold, and as TextEncoder does.
    RowBuilder(BAttributeDefs const& schema, std::string const& encoding, char const* operation);

    /// The fields as the table has them; names cut to 10 bytes of the encoding, and distinct.
    BAttributeDefs const& GetFields() const noexcept { return fields; }
    /// Their names in the table's encoding.
    std::vector<std::string> const& GetEncodedNames() const noexcept { return encodedNames; }
    TextEncoder const& GetEncoder() const noexcept { return encoder; }

    /// The row, deletion flag included; blank where there is no attribute of the name, or a null.
    /// Throws BAttributeDataException (`operation`, "Record=number, Field=name, reason").
    std::span<char const> Build(BAttributes const& attributes, std::uint32_t record,
                                char const* operation);

private:
    /// Puts the value's text into the place of field `index`, which is blank. Returns what is
    /// wrong, or null.
    char const* Place(std::span<char> place, BVariant const& value, std::uint64_t index);
    char const* PlaceText(std::span<char> place, BVariant const& value);

    TextEncoder encoder;
    std::vector<BString> names;         ///< of the attributes, parallel to the fields
    std::vector<std::int32_t> decimals; ///< likewise, of real numbers; 0: as many as it takes
    BAttributeDefs fields;
    std::vector<std::string> encodedNames;
    std::vector<char> row;
};

} // namespace Ambrel
