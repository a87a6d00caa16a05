#pragma once

#include "Ambrel/BVariant.h"

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

/// The value of a field; a date may be null. Where `lastText` is given, it holds the text that was
/// made for the same column last, which is shared when it is the same again: columns are
/// repetitive.
BVariant ConvertField(std::string_view field, EVariantType type, BString* lastText);

} // namespace Ambrel
