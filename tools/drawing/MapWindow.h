#pragma once

#include "Ambrel/BRect.h"

namespace Ambrel::Tool {

/// Places a piece of the map in a picture: proportions kept, centred, Y up in the map and down in
/// the picture. Window coordinates count in parts of a pixel, so that the integer ones that lines
/// and areas are drawn with stay fine: as fine as vertices far outside of the picture allow.
class MapWindow final {
public:
    /// `map` fills a picture of `width` x `height` pixels but for a margin in pixels. A side of
    /// `map` that has no length is centred. `reach`: where there are vertices at all.
    MapWindow(BRect const& map, int width, int height, double margin, BRect const& reach);

    /// Window units in a pixel.
    int UnitsPerPixel() const noexcept { return unitsPerPixel; }
    /// Map units to window units. Never beyond `limit` from 0, so the result fits an integer; what
    /// is not a number lies at the limit.
    void ToWindow(double& x, double& y) const noexcept;
    /// The whole piece of the map that the picture shows, its margin included, and `pixels` more on
    /// every side.
    BRect VisibleMap(double pixels) const noexcept;

private:
    static constexpr double limit = 2e9;
    static constexpr int mostUnitsPerPixel = 16;

    double centerX;
    double centerY;
    double halfWidth; ///< of the picture, in pixels
    double halfHeight;
    double pixelScale; ///< pixels in a map unit
    int unitsPerPixel = mostUnitsPerPixel;
};

} // namespace Ambrel::Tool
