#pragma once

#include <cstdint>

/// The vertex types that the renderer takes, laid out as GDI+ has them. See "Point class" and
/// "PointF class" in Microsoft's GDI+ reference.
namespace Gdiplus {

/// A vertex of a line or an area, in window units.
struct Point {
    std::int32_t X = 0;
    std::int32_t Y = 0;
};

/// A point, in window units.
struct PointF {
    float X = 0.0F;
    float Y = 0.0F;
};

} // namespace Gdiplus
