#pragma once

#include "Ambrel/BString.h"

#include <cstdint>

namespace Ambrel::Tool {

/// How many of the rows that lie whole in a shapefile's table are marked as deleted; 0 where there
/// is no table. Reads the table. Throws InterruptedException.
std::uint64_t CountDeletedRows(BString const& shapefile);

} // namespace Ambrel::Tool
