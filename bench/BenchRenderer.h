#pragma once

#include <Ambrel/BGeometry.h>
#include <Ambrel/BRenderer.h>

#include <memory>

namespace Ambrel::Bench {

/// A renderer for an image of this size in pixels that shows the area, in map units, as the
/// command-line tool draws it.
std::unique_ptr<BRenderer> MakeImageRenderer(int width, int height, BRect const& area,
                                             EGeometryClass geometryClass);
/// One that converts the coordinates likewise, and paints nothing.
std::unique_ptr<BRenderer> MakeBlindRenderer(int width, int height, BRect const& area,
                                             EGeometryClass geometryClass);

} // namespace Ambrel::Bench
