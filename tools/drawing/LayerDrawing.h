#pragma once

#include "Ambrel/BString.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Ambrel {
class BVectorLayer;
}

namespace Ambrel::Tool {

struct Console;
class MapRenderer;

/// Draws records of a layer, which was opened on `file`, in their order. One that cannot be drawn
/// ends nothing: it is printed as an error where `reports` says so, and the others are drawn; those
/// that go beyond the renderer's budget are left out. Returns how many records were left out.
/// Throws InterruptedException, and BResourceException or std::bad_alloc where memory ends.
std::uint64_t DrawRecords(Console& console, BString const& file, BVectorLayer& layer,
                          std::vector<std::uint64_t> const& records, MapRenderer& renderer,
                          bool reports);

} // namespace Ambrel::Tool
