#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

/// Conversions between UTF-8, wide characters and Windows-1252. A wide character is a UTF-32 code
/// point or, where wchar_t has 16 bits, a UTF-16 code unit.
namespace Ambrel::Unicode {

/// Well-formed as the Unicode Standard's table 3-7 has it: no overlong forms, no surrogates.
bool IsValidUtf8(std::string_view text) noexcept;
/// The text up to a character at its end of which bytes are missing; all of it where there is none.
std::string_view WithoutCutCharacter(std::string_view text) noexcept;
bool IsAscii(std::string_view text) noexcept;
std::string FromWindows1252(std::string_view text);
std::string FromWide(std::wstring_view text);
/// REQUIRES: `utf8` is valid. The result is NUL-terminated.
std::unique_ptr<wchar_t[]> ToWide(std::string_view utf8);
/// The size in bytes of the first `count` wide characters; a character is never split.
/// REQUIRES: `utf8` is valid.
std::size_t PrefixSize(std::string_view utf8, std::uint64_t count) noexcept;

} // namespace Ambrel::Unicode
