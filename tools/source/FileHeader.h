#pragma once

#include "ShpReader/format/ShpFormat.h"

#include "Ambrel/BString.h"

#include <optional>

namespace Ambrel::Tool {

/// The header of a shapefile's main file, valid or not; none where the file does not hold one.
std::optional<ShpFileHeader> HeaderOf(BString const& shapefile);

} // namespace Ambrel::Tool
