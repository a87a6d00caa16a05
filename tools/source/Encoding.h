#pragma once

#include "Ambrel/BString.h"

#include <optional>
#include <string>
#include <string_view>

class QTextCodec;

namespace Ambrel::Tool {

struct Console;

/// The codec for a name in any of the spellings that people and ".cpg" files have for it: "UTF-8",
/// "utf8", "1252", "ANSI 1252", "cp1252", "88591", "ISO-8859-1", "OEM 850", "Big5" … Null when it
/// is not known, or not one that a table's text can be in (ASCII must stand for itself).
QTextCodec const* FindCodec(std::string_view name);

/// The code page of a table's language byte, as dBASE and FoxPro number them, in digits; empty for
/// 0, for "whatever is usual" (0x57) and for unknown ones.
std::string_view NameOfLanguage(std::uint8_t language);

/// Decodes 8-bit text as a shapefile wants it while this object lives. `name` when it is not empty,
/// else the ".cpg" file beside the shapefile, else the table's language byte, else BString's
/// default rule. A name that nobody knows is a UsageException; the file's own is a warning.
class EncodingScope final {
public:
    EncodingScope(Console& console, BString const& shapefile, std::string const& name);
    ~EncodingScope();
    EncodingScope(EncodingScope const&) = delete;
    EncodingScope& operator=(EncodingScope const&) = delete;
};

} // namespace Ambrel::Tool
