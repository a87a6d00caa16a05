#pragma once

#include "drawing/Path.h"

namespace Ambrel::Tool {

/// A rectangle of a picture, in pixels.
struct PixelBox {
    double left;
    double top;
    double right;
    double bottom;

    bool Contains(PixelBox const& other) const noexcept {
        return left <= other.left && other.right <= right && top <= other.top &&
               other.bottom <= bottom;
    }
    bool Meets(PixelBox const& other) const noexcept {
        return left <= other.right && other.left <= right && top <= other.bottom &&
               other.top <= bottom;
    }
};

/// Adds the pieces of the lines that lie in the box, in their order.
void ClipLines(Path const& lines, PixelBox const& box, Path& clipped);

/// Adds what the rings enclose in the box. Where a ring leaves the box, its piece runs along the
/// box's edge, so the result is for filling, not for stroking.
void ClipRings(Path const& rings, PixelBox const& box, Path& clipped);

} // namespace Ambrel::Tool
