#pragma once

#include <QColor>
#include <QImage>

#include <array>
#include <cstdint>
#include <vector>

namespace Ambrel::Tool {

/// A round dot, drawn beforehand at every quarter of a pixel and copied into an image from then on:
/// a painter's own ellipse costs fifty times as much.
class DotSprite final {
public:
    /// `diameter` in pixels.
    DotSprite(QColor const& color, double diameter);

    /// Blends the dot over an image of four bytes a pixel. `x` and `y` in pixels; what lies beyond
    /// the image is left out.
    void Blend(QImage& image, double x, double y) const;

private:
    static constexpr int phases = 4; ///< places within a pixel, on each axis

    int side;                                                       ///< pixels
    std::array<std::vector<std::uint32_t>, phases * phases> pixels; ///< premultiplied
};

} // namespace Ambrel::Tool
