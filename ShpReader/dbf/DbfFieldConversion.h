#pragma once

#include "Ambrel/BVariant.h"

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
/// and a shared text costs neither time nor memory.
class TextCache {
public:
    BString Share(std::string_view text);

private:
    std::array<BString, 64> texts; ///< each where its hash says; ASCII only
};

/// The value of a field; a date may be null. `cache`: the column's texts, or null.
BVariant ConvertField(std::string_view field, EVariantType type, TextCache* cache);

} // namespace Ambrel
