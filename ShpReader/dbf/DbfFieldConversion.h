#pragma once

#include "Ambrel/BVariant.h"
#include "ShpReader/dbf/DbfFieldTypes.h"
#include "ShpReader/dbf/TextDecoder.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace Ambrel {

/// The bytes of the field at `offset`, `width` bytes wide; what lies past the end of the record is
/// not part of it.
std::string_view GetFieldBytes(std::string_view record, std::int32_t offset,
                               std::int32_t width) noexcept;

/// The text of a field without the blanks around it. It ends at the first NUL; a NUL that ends the
/// field protects the blanks before it.
std::string_view GetTrimmedText(std::string_view field) noexcept;

/// The texts that one column had lately, to be shared when they come again: columns are repetitive,
/// and a shared text costs neither time nor memory. In a column whose texts do not come again, few
/// are looked up.
class TextCache {
public:
    /// The decoded text. REQUIRES: it is not empty, and the decoder is the same in every call.
    BString Share(std::string_view bytes, TextDecoder const& decoder);

private:
    static constexpr std::uint32_t hopelessAfter = 512;
    static constexpr std::uint32_t triedWhenHopeless = 16; ///< one of so many

    std::uint32_t textsSinceHit = 0;
    std::array<BString, 64> texts; ///< each where its hash says, if decoding changes no byte of it
};

/// The values of a field, by type. A date may be null.
BVariant ConvertInteger(FieldContent const& content);
BVariant ConvertInteger64(FieldContent const& content);
BVariant ConvertDouble(FieldContent const& content);
BVariant ConvertLogical(FieldContent const& content);
BVariant ConvertDate(FieldContent const& content);
BVariant ConvertText(FieldContent const& content);

/// What stands for the value where there is no row to be read.
BVariant MakeNoInteger();
BVariant MakeNoInteger64();
BVariant MakeNoDouble();
BVariant MakeNoLogical();
BVariant MakeNoDate();
BVariant MakeNoText();

/// Blanks and NULs alone, or an asterisk as the first byte that is no blank.
bool HoldsNoNumber(std::string_view bytes) noexcept;
/// Blanks and NULs alone, or a question mark among blanks.
bool HoldsNoLogical(std::string_view bytes) noexcept;

} // namespace Ambrel
