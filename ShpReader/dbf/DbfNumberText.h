#pragma once

#include <cstdint>
#include <string_view>

/// Numbers from the text of a field, to the bit what the C library's functions give for the same
/// text in the "C" locale, whatever the process's locale is. Leading white space is skipped, a sign
/// is optional, and what follows the number is ignored; text that is no number gives 0.
namespace Ambrel {

/// As strtoll in base 10: out-of-range text gives the limits.
std::int64_t ParseInteger64(std::string_view text) noexcept;
/// As atoi, where that takes the low 32 bits of the 64-bit number.
std::int32_t ParseInteger(std::string_view text) noexcept;
/// As strtod: exponents, hexadecimal numbers, infinities and NaNs too; rounded to the nearest.
double ParseDouble(std::string_view text) noexcept;

} // namespace Ambrel
