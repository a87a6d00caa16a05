#include "drawing/SvgCanvas.h"

#include "drawing/VectorText.h"
#include "formats/OutputFile.h"
#include "terminal/Interrupt.h"

namespace Ambrel::Tool {

namespace {

/// `name`="colour", and its opacity where it has one.
std::string Paint(char const* name, QColor const& color) {
    std::string const start = std::string(" ") + name + "=\"";
    if (!color.isValid()) {
        return start + "none\"";
    }
    std::string paint = start + color.name().toStdString() + "\"";
    if (color.alpha() < 255) {
        paint += std::string(" ") + name + "-opacity=\"";
        AppendPixels(paint, color.alphaF());
        paint += "\"";
    }
    return paint;
}

std::string StrokeOf(LayerStyle const& style) {
    if (!HasStroke(style)) {
        return Paint("stroke", QColor());
    }
    std::string stroke = Paint("stroke", style.color) + " stroke-width=\"";
    AppendPixels(stroke, style.width);
    return stroke + (IsThin(style) ? "\" stroke-linejoin=\"bevel\""
                                   : "\" stroke-linecap=\"round\" stroke-linejoin=\"round\"");
}

} // namespace

SvgCanvas::SvgCanvas(OutputFile& target, int width, int height) : output(target) {
    std::string const w = std::to_string(width);
    std::string const h = std::to_string(height);
    output.Append("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                  "<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\" width=\"" +
                  w + "\" height=\"" + h + "\" viewBox=\"0 0 " + w + " " + h +
                  "\">\n<title>Map</title>\n<desc>Drawn by ambrel-shp</desc>\n");
}

void SvgCanvas::SetStyle(LayerStyle const& layerStyle) {
    Use(Group::None);
    style = layerStyle;
}

void SvgCanvas::Use(Group wanted) {
    if (group == wanted) {
        return;
    }
    output.Append(group == Group::None ? "" : "</g>\n");
    group = wanted;
    QColor const none;
    switch (wanted) {
    case Group::None: return;
    case Group::Dots: output.Append("<g" + Paint("fill", style.color) + ">\n"); return;
    case Group::Areas:
        output.Append("<g" + Paint("fill", style.fill) + " fill-rule=\"evenodd\">\n");
        return;
    case Group::Lines: output.Append("<g" + Paint("fill", none) + StrokeOf(style) + ">\n"); return;
    case Group::AreasWithOutlines:
        output.Append("<g" + Paint("fill", style.fill) + " fill-rule=\"evenodd\"" +
                      StrokeOf(style) + ">\n");
    }
}

void SvgCanvas::PaintDot(Vertex const& center) {
    if (!HasStroke(style)) {
        return;
    }
    Use(Group::Dots);
    std::string& text = output.Buffer();
    text += "<circle cx=\"";
    AppendPixels(text, center.x);
    text += "\" cy=\"";
    AppendPixels(text, center.y);
    text += "\" r=\"";
    AppendPixels(text, style.width / 2);
    text += "\"/>\n";
    output.FlushIfFull();
}

void SvgCanvas::Fill(Path const& rings) {
    if (style.fill.isValid()) {
        WritePath(Group::Areas, rings);
    }
}

void SvgCanvas::Stroke(Path const& lines) {
    if (HasStroke(style)) {
        WritePath(Group::Lines, lines);
    }
}

void SvgCanvas::FillAndStroke(Path const& rings) {
    if (style.fill.isValid() || HasStroke(style)) {
        WritePath(Group::AreasWithOutlines, rings);
    }
}

void SvgCanvas::WriteCoordinates(Vertex const& vertex) {
    std::string& text = output.Buffer();
    AppendPixels(text, vertex.x);
    text += ' ';
    AppendPixels(text, vertex.y);
    output.FlushIfFull();
}

void SvgCanvas::WritePath(Group wanted, Path const& path) {
    if (path.IsEmpty()) {
        return;
    }
    Use(wanted);
    output.Append("<path d=\"");
    path.ForEachPart([&](Vertex const* vertices, std::size_t count) {
        ThrowIfInterrupted();
        bool const isRing = count > 2 && vertices[0] == vertices[count - 1];
        for (std::size_t i = 0; i < count - (isRing ? 1 : 0); ++i) {
            output.Buffer() += i == 0 ? 'M' : i == 1 ? 'L' : ' ';
            WriteCoordinates(vertices[i]);
        }
        output.Append(isRing ? "Z" : "");
    });
    output.Append("\"/>\n");
}

void SvgCanvas::Finish() {
    Use(Group::None);
    output.Append("</svg>\n");
}

} // namespace Ambrel::Tool
