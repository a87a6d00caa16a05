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

/// Whether fields of that type hold a number, a truth value or a date; all others hold text.
bool IsScalarType(EVariantType type) noexcept;

/// The value of a field of scalar type; a date may be null. REQUIRES: IsScalarType(type).
BVariant ConvertScalar(std::string_view field, EVariantType type);

} // namespace Ambrel
