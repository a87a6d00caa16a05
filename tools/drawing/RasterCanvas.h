#pragma once

#include "drawing/Canvas.h"
#include "drawing/Coverage.h"
#include "drawing/DotSprite.h"

#include <QImage>

#include <optional>

namespace Ambrel::Tool {

/// Paints on an image, anti-aliased, in time that is linear in the vertices and in the pixels that
/// are touched.
class RasterCanvas final : public Canvas {
public:
    /// Writes a PNG to the output. Throws std::bad_alloc where there is no room for the image.
    RasterCanvas(OutputFile& target, int width, int height);

    void SetStyle(LayerStyle const& style) override;
    void PaintDot(Vertex const& center) override;
    void Fill(Path const& rings) override;
    void Stroke(Path const& lines) override;
    void Finish() override;

    /// White again.
    void Clear();
    QImage const& Image() const noexcept { return image; }

private:
    /// Calls `add` and `sweep` for every band of rows that the path and `reach` pixels around it
    /// meet.
    template <class AddPath, class Sweep>
    void InBands(Path const& path, double reach, AddPath add, Sweep sweep);
    void StrokeThin(Path const& lines);
    void StrokeWide(Path const& lines);
    void AddConvex(Vertex const* corners, std::size_t count);
    /// Paints a run of pixels in a premultiplied colour.
    auto Painter(std::uint32_t color);

    OutputFile& output;
    QImage image;
    Coverage coverage;
    std::uint32_t stroke = 0; ///< premultiplied; 0: none
    std::uint32_t fill = 0;
    double strokeWidth = 0.0;
    bool isThin = true;
    std::optional<DotSprite> dot;
    std::vector<Vertex> disc; ///< around 0, as wide as a line
};

} // namespace Ambrel::Tool
