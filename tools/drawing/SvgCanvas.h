#pragma once

#include "drawing/Canvas.h"

namespace Ambrel::Tool {

/// Writes Scalable Vector Graphics 1.1: a group for each change of style, with a path or a circle
/// for each shape.
class SvgCanvas final : public Canvas {
public:
    SvgCanvas(OutputFile& target, int width, int height);

    void SetStyle(LayerStyle const& style) override;
    void PaintDot(Vertex const& center) override;
    void Fill(Path const& rings) override;
    void Stroke(Path const& lines) override;
    void FillAndStroke(Path const& rings) override;
    void Finish() override;

private:
    enum class Group { None, Dots, Areas, Lines, AreasWithOutlines };

    void Use(Group wanted);
    void WritePath(Group wanted, Path const& path);
    void WriteCoordinates(Vertex const& vertex);

    OutputFile& output;
    LayerStyle style;
    Group group = Group::None;
};

} // namespace Ambrel::Tool
