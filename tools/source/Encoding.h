#pragma once

#include "Ambrel/BString.h"

#include <string>
#include <string_view>

class QTextCodec;

namespace Ambrel::Tool {

struct Console;

/// The codec for a name in any of the spellings that people and ".cpg" files have for it. Null when
/// it is not known, or not one that a table's text can be in (ASCII must stand for itself).
QTextCodec const* FindCodec(std::string_view name);

/// What an encoding is called, and where that was learnt.
struct StatedEncoding {
    std::string name;   ///< empty: the reader's own rule
    std::string origin; ///< "--encoding", ".cpg file", "table"; empty where the name is
};

/// `wanted` when it is not empty, else what the shapefile states, known or not.
StatedEncoding FindEncoding(BString const& shapefile, std::string const& wanted);

/// The encoding of a shapefile's texts, for the reader's option: `wanted` when it is not empty,
/// else what the ".cpg" file says, else the table's language byte, else empty: the reader's own
/// rule. A name that nobody knows is a UsageException; the file's own is a warning, and empty.
std::string ChooseEncoding(Console& console, BString const& shapefile, std::string const& wanted);

} // namespace Ambrel::Tool
