#include "MapWindow.h"

#include <algorithm>
#include <limits>

namespace Ambrel::Tool {

namespace {

double Clamp(double value, double limit) noexcept {
    // Written so that NaN comes out as the lower bound.
    return std::min(value > -limit ? value : -limit, limit);
}

/// Window units in a map unit, for a map of that length in a room of that many units.
double ScaleFor(double length, double room) {
    return length > 0.0 ? room / length : std::numeric_limits<double>::infinity();
}

} // namespace

MapWindow::MapWindow(BRect const& map, int width, int height, double margin)
    // Halved first: the sum of two large bounds may be beyond the largest double.
    : centerX(map.xMin / 2 + map.xMax / 2), centerY(map.yMin / 2 + map.yMax / 2),
      halfWidth(width * unitsPerPixel / 2.0), halfHeight(height * unitsPerPixel / 2.0) {
    double const border = std::min(margin, std::min(width, height) / 4.0) * unitsPerPixel;
    scale = std::min(ScaleFor(map.xMax - map.xMin, 2 * (halfWidth - border)),
                     ScaleFor(map.yMax - map.yMin, 2 * (halfHeight - border)));
    if (!(scale > 0.0 && scale < std::numeric_limits<double>::infinity())) {
        scale = unitsPerPixel;
    }
}

void MapWindow::ToWindow(double& x, double& y) const noexcept {
    x = Clamp(halfWidth + (x - centerX) * scale, limit);
    y = Clamp(halfHeight - (y - centerY) * scale, limit);
}

BRect MapWindow::VisibleMap(double pixels) const noexcept {
    double const x = (halfWidth + pixels * unitsPerPixel) / scale;
    double const y = (halfHeight + pixels * unitsPerPixel) / scale;
    return BRect(centerX - x, centerY - y, centerX + x, centerY + y);
}

} // namespace Ambrel::Tool
