#pragma once

#include <cstdarg>
#include <string>

namespace Ambrel {

/// Appends the printf-style formatted text; see BString::Format for what is understood. Does not
/// look at the locale. A conversion that is not understood is copied as it stands, and ends the
/// formatting, because the arguments behind it cannot be found.
void FormatTo(std::string& text, char const* format, std::va_list list);

} // namespace Ambrel
