#pragma once

#include "Ambrel/BRect.h"

#include <cstdint>
#include <limits>

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
    /// Of the picture, in pixels.
    int Width() const noexcept { return static_cast<int>(2 * halfWidth); }
    int Height() const noexcept { return static_cast<int>(2 * halfHeight); }
    /// The window coordinate of what is not a number.
    static constexpr std::int32_t noPlace = std::numeric_limits<std::int32_t>::min();
    /// Map units to window units. Never beyond `limit` from 0, so the result fits an integer, but
    /// for `noPlace`.
    void ToWindow(double& x, double& y) const noexcept;
    /// Whether nobody could tell a picture through this window from one through the other: places
    /// differ by less than half a pixel.
    bool IsLike(MapWindow const& other) const noexcept;
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
