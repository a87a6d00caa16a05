#pragma once

#include <string>
#include <string_view>

namespace Ambrel::CrsText {

/// Without a byte order mark, and without blanks and NULs at its ends.
std::string Trimmed(std::string_view text);

/// "EPSG:4326": an authority and its code.
bool IsAuthorityCode(std::string_view text) noexcept;

/// Well-known text without the grids that it names for heights (`EXTENSION["PROJ4_GRIDS", …]`):
/// x and y do not depend on them.
std::string WithoutHeightGrids(std::string text);

/// The part of the text at which PROJ might open a file or the network, such as "grids=" or
/// "PARAMETERFILE"; empty where there is none. The text is data and may come from anybody: a name
/// in it could be that of a pipe, which blocks for ever. It is judged without being parsed, so that
/// no quoting hides anything: what PROJ's parameters may be given is listed, all else is suspect.
std::string_view SuspectPart(std::string_view text) noexcept;

} // namespace Ambrel::CrsText
