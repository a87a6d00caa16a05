#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Ambrel::Tool {

/// The columns of a terminal that the text takes: two for a wide character of East Asia, none for a
/// combining one. Does not depend on the locale. The text is UTF-8 without control characters.
std::size_t WidthOf(std::string_view text);

/// The text, in so many columns: filled with spaces, at the left where it is to stand right, and
/// cut, with an ellipsis, where it is wider.
std::string Fit(std::string_view text, std::size_t width, bool standsRight = false);

/// The columns of the terminal on standard output; 0 where that is none.
std::size_t TerminalWidth();

} // namespace Ambrel::Tool
