#pragma once

#include "Ambrel/Ambrel.h"

#include <string>

namespace Ambrel::Test {

/// A geometry as one line: its class, "Z" where its 3D flag is set, its vertices (x y, or x y z
/// where z is not 0) to the last bit, its members. "none" for an absent one.
///
///     polygon[0 0,0 9,9 9]   donut{polygon[...] polygon[...]}   points Z{point Z[1 2 3]}
std::string TextOf(BGeometry const* geometry);
std::string TextOf(BFeature const& feature);
/// Metadata as "key=value" in order, lists as (1 2 3).
std::string TextOf(BKeyValuePairs const& metadata);
/// "xmin ymin xmax ymax", or "empty".
std::string TextOf(BRect const& rectangle);

} // namespace Ambrel::Test
