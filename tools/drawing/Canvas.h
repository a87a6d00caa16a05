#pragma once

#include "drawing/MapStyle.h"
#include "drawing/Path.h"

#include <memory>
#include <string>

namespace Ambrel::Tool {

class OutputFile;

/// What maps are painted on. Memory does not grow with what is painted: a raster image has its
/// size, and a vector format goes to its file as it is made. Long work ends in an
/// InterruptedException where the user has asked to stop.
class Canvas {
public:
    Canvas() noexcept = default;
    Canvas(Canvas const&) = delete;
    Canvas& operator=(Canvas const&) = delete;
    virtual ~Canvas() = default;

    /// Holds for what is painted from now on.
    virtual void SetStyle(LayerStyle const& style) = 0;
    /// A filled circle of the style's width and colour.
    virtual void PaintDot(Vertex const& center) = 0;
    /// By the even-odd rule, so that holes are holes whatever their orientation.
    virtual void Fill(Path const& rings) = 0;
    virtual void Stroke(Path const& lines) = 0;
    virtual void FillAndStroke(Path const& rings) {
        Fill(rings);
        Stroke(rings);
    }
    /// Completes the output. Nothing is painted any more.
    virtual void Finish() = 0;
};

enum class PictureFormat { Png, Svg, Pdf };

/// What the name's extension says: ".png", ".svg" or ".pdf"; "-" is PNG. Throws UsageException for
/// another.
PictureFormat PictureFormatOf(std::string const& name);

/// A white canvas of that size in pixels (of 1/96 inch, where it has a size on paper).
std::unique_ptr<Canvas> MakeCanvas(PictureFormat format, OutputFile& output, int width, int height);

} // namespace Ambrel::Tool
