#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The names that text encodings have in ".cpg" files, in the tables themselves and among people.
/// Pure data: what a name decodes to is the codecs' business.
namespace Ambrel {

/// The names, the likeliest first, that a library of codecs may know an encoding by: for
/// "UTF-8\r\n", "utf8", "1252", "ANSI 1252", "cp1252", "88591", "ISO-8859-1", "OEM 850" … None for
/// what is no name.
std::vector<std::string> GetCodecNames(std::string_view spelling);

/// The name that a ".cpg" file or a user gives, without what stands around it: byte order mark,
/// blanks, quotation marks, line ends and all that follows them.
std::string_view TrimEncodingName(std::string_view text) noexcept;

/// The bytes that must stand for themselves in the encoding of a table, whose layout is ASCII: all
/// of ASCII but three control characters, which some code pages of personal computers permute.
std::string_view GetFixedBytes() noexcept;

/// The code page of a table's language byte, as dBASE and FoxPro number them, in digits; empty for
/// 0, for "whatever is usual" (0x57) and for unknown ones.
std::string_view GetCodePage(std::uint8_t language) noexcept;

} // namespace Ambrel
