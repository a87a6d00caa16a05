#pragma once

#include "Ambrel/BRect.h"

namespace Ambrel::Tool {

/// Whether a rectangle in degrees can be one of longitudes and latitudes. Longitudes go once around
/// beyond the usual range, as those of maps do that are centred on the Pacific.
inline bool CanBeLongitudesAndLatitudes(BRect const& box) {
    constexpr double slack = 1e-6; // degrees; what rounding makes of 90
    return box.yMin >= -90.0 - slack && box.yMax <= 90.0 + slack && box.xMin >= -360.0 - slack &&
           box.xMax <= 360.0 + slack;
}

} // namespace Ambrel::Tool
