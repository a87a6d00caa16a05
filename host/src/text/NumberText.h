#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "Ambrel/BString.h"

/// Numbers as text, independently of the locale.
namespace Ambrel::NumberText {

/// The number that the whole text stands for, blanks around it left out; nothing when it is none.
std::optional<double> ToReal(std::string_view text) noexcept;
std::optional<std::int64_t> ToSigned(std::string_view text) noexcept;
std::optional<std::uint64_t> ToUnsigned(std::string_view text) noexcept;

BString FromSigned(std::int64_t value);
BString FromUnsigned(std::uint64_t value);
/// The fewest digits that read back to the same number.
BString FromReal(double value);
BString FromReal(float value);

} // namespace Ambrel::NumberText
