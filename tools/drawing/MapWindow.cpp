#include "drawing/MapWindow.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Ambrel::Tool {

namespace {

double Clamp(double value, double limit) noexcept {
    double const clamped = std::min(value > -limit ? value : -limit, limit);
    return value == value ? clamped : MapWindow::noPlace;
}

/// Pixels in a map unit, for a map of that length in a room of that many pixels.
double ScaleFor(double length, double room) {
    return length > 0.0 ? room / length : std::numeric_limits<double>::infinity();
}

/// How far the farthest side of the rectangle is from a place.
double FarthestFrom(double x, double y, BRect const& rectangle) {
    return rectangle.IsEmpty() ? 0.0
                               : std::max({x - rectangle.xMin, rectangle.xMax - x,
                                           y - rectangle.yMin, rectangle.yMax - y});
}

} // namespace

MapWindow::MapWindow(BRect const& map, int width, int height, double margin, BRect const& reach)
    // Halved first: the sum of two large bounds may be beyond the largest double.
    : centerX(map.xMin / 2 + map.xMax / 2), centerY(map.yMin / 2 + map.yMax / 2),
      halfWidth(width / 2.0), halfHeight(height / 2.0) {
    double const border = std::min(margin, std::min(width, height) / 4.0);
    pixelScale = std::min(ScaleFor(map.xMax - map.xMin, 2 * (halfWidth - border)),
                          ScaleFor(map.yMax - map.yMin, 2 * (halfHeight - border)));
    if (!(pixelScale > 0.0 && pixelScale < std::numeric_limits<double>::infinity())) {
        pixelScale = 1.0;
    }
    double const farthest = FarthestFrom(centerX, centerY, reach) * pixelScale + width + height;
    while (unitsPerPixel > 1 && !(farthest * unitsPerPixel < limit)) {
        unitsPerPixel /= 2;
    }
}

void MapWindow::ToWindow(double& x, double& y) const noexcept {
    x = Clamp((halfWidth + (x - centerX) * pixelScale) * unitsPerPixel, limit);
    y = Clamp((halfHeight - (y - centerY) * pixelScale) * unitsPerPixel, limit);
}

bool MapWindow::IsLike(MapWindow const& other) const noexcept {
    constexpr double unseen = 0.5; // pixels
    BRect const map = VisibleMap(0.0);
    BRect const otherMap = other.VisibleMap(0.0);
    double const most = unseen / pixelScale;
    return std::fabs(map.xMin - otherMap.xMin) < most &&
           std::fabs(map.xMax - otherMap.xMax) < most &&
           std::fabs(map.yMin - otherMap.yMin) < most && std::fabs(map.yMax - otherMap.yMax) < most;
}

BRect MapWindow::VisibleMap(double pixels) const noexcept {
    double const x = (halfWidth + pixels) / pixelScale;
    double const y = (halfHeight + pixels) / pixelScale;
    return BRect(centerX - x, centerY - y, centerX + x, centerY + y);
}

} // namespace Ambrel::Tool
