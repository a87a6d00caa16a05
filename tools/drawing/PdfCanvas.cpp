#include "drawing/PdfCanvas.h"

#include "drawing/VectorText.h"
#include "formats/OutputFile.h"
#include "terminal/Interrupt.h"

#include <QByteArray>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace Ambrel::Tool {

namespace {

constexpr std::size_t pieceSize = 1 << 20; // bytes, before compression
constexpr double pointsPerPixel = 72.0 / 96;
/// Objects that others refer to; the content streams follow.
enum ObjectNumber : std::size_t { CATALOG = 1, PAGES, PAGE, RESOURCES, INFORMATION, CONTENT };

/// As a zlib stream, which is what the filter FlateDecode wants.
QByteArray Compress(std::string const& bytes) {
    QByteArray compressed =
        qCompress(reinterpret_cast<uchar const*>(bytes.data()), static_cast<int>(bytes.size()));
    return compressed.remove(0, 4); // the length that Qt puts before it
}

std::string Reference(std::size_t number) {
    return std::to_string(number) + " 0 R";
}

std::string Components(QColor const& color) {
    std::string components;
    for (double const value : {color.redF(), color.greenF(), color.blueF()}) {
        char text[16];
        std::snprintf(text, sizeof text, "%d.%04d ", static_cast<int>(value),
                      static_cast<int>(std::lround(value * 10000) % 10000));
        components += text;
    }
    return components;
}

} // namespace

PdfCanvas::PdfCanvas(OutputFile& target, int pixelWidth, int pixelHeight)
    : output(target), width(pixelWidth), height(pixelHeight), offsets(CONTENT - 1) {
    Emit("%PDF-1.4\n%\xE2\xE3\xCF\xD3\n");
    // From pixels, Y down, to points, Y up.
    std::string matrix;
    AppendPixels(matrix, pointsPerPixel);
    content = matrix + " 0 0 -" + matrix + " 0 ";
    AppendPixels(content, height * pointsPerPixel);
    content += " cm\n";
}

void PdfCanvas::Emit(std::string_view bytes) {
    output.Append(bytes);
    position += bytes.size();
}

void PdfCanvas::BeginObject(std::size_t number) {
    offsets[number - 1] = position;
    Emit(std::to_string(number) + " 0 obj\n");
}

void PdfCanvas::WriteObject(std::size_t number, std::string const& value) {
    BeginObject(number);
    Emit(value + "\nendobj\n");
}

void PdfCanvas::FlushContent() {
    QByteArray const compressed = Compress(content);
    content.clear();
    offsets.push_back(0);
    BeginObject(offsets.size());
    Emit("<</Length " + std::to_string(compressed.size()) + "/Filter/FlateDecode>>\nstream\n");
    Emit({compressed.constData(), static_cast<std::size_t>(compressed.size())});
    Emit("\nendstream\nendobj\n");
    ThrowIfInterrupted();
}

/// Opacities are named in the page's resources.
void PdfCanvas::SetAlpha(char const* key, QColor const& color) {
    int const alpha = color.isValid() ? color.alpha() : 255;
    if (std::find(alphas.begin(), alphas.end(), alpha) == alphas.end()) {
        alphas.push_back(alpha);
    }
    content += std::string("/") + key + std::to_string(alpha) + " gs\n";
}

void PdfCanvas::SetStyle(LayerStyle const& layerStyle) {
    style = layerStyle;
    content += hasStyle ? "Q\nq\n" : "q\n";
    hasStyle = true;
    SetAlpha("F", style.fill);
    SetAlpha("S", style.color);
    content += style.fill.isValid() ? Components(style.fill) + "rg\n" : "";
    content += style.color.isValid() ? Components(style.color) + "RG\n" : "";
    AppendPixels(content, style.width);
    content += " w\n";
    isDotStyle = true;
    UseDots(false);
}

/// A dot is a line without length, of round ends.
void PdfCanvas::UseDots(bool dots) {
    if (dots != isDotStyle) {
        bool const areEndsRound = dots || !IsThin(style);
        content += areEndsRound ? "1 J 1 j\n" : "0 J 2 j\n";
        isDotStyle = dots;
    }
}

void PdfCanvas::Operate(Vertex const& vertex, char const* operation) {
    AppendPixels(content, vertex.x);
    content += ' ';
    AppendPixels(content, vertex.y);
    content += operation;
    if (content.size() >= pieceSize) {
        FlushContent();
    }
}

void PdfCanvas::PaintDot(Vertex const& center) {
    if (HasStroke(style)) {
        UseDots(true);
        Operate(center, " m ");
        Operate(center, " l S\n");
    }
}

void PdfCanvas::WritePath(Path const& path, char const* paint) {
    if (path.IsEmpty()) {
        return;
    }
    UseDots(false);
    path.ForEachPart([&](Vertex const* vertices, std::size_t count) {
        bool const isRing = count > 2 && vertices[0] == vertices[count - 1];
        for (std::size_t i = 0; i < count - (isRing ? 1 : 0); ++i) {
            Operate(vertices[i], i == 0 ? " m\n" : " l\n");
        }
        content += isRing ? "h\n" : "";
    });
    content += paint;
}

void PdfCanvas::Fill(Path const& rings) {
    if (style.fill.isValid()) {
        WritePath(rings, "f*\n");
    }
}

void PdfCanvas::Stroke(Path const& lines) {
    if (HasStroke(style)) {
        WritePath(lines, "S\n");
    }
}

void PdfCanvas::FillAndStroke(Path const& rings) {
    if (!style.fill.isValid() || !HasStroke(style)) {
        Canvas::FillAndStroke(rings);
    } else {
        WritePath(rings, "B*\n");
    }
}

void PdfCanvas::Finish() {
    content += hasStyle ? "Q\n" : "";
    FlushContent();
    std::size_t const lastContent = offsets.size();
    WriteObject(CATALOG, "<</Type/Catalog/Pages " + Reference(PAGES) + ">>");
    WriteObject(PAGES, "<</Type/Pages/Count 1/Kids[" + Reference(PAGE) + "]>>");
    std::string page = "<</Type/Page/Parent " + Reference(PAGES) + "/MediaBox[0 0 ";
    AppendPixels(page, width * pointsPerPixel);
    page += ' ';
    AppendPixels(page, height * pointsPerPixel);
    page += "]/Resources " + Reference(RESOURCES) + "/Contents[";
    for (std::size_t number = CONTENT; number <= lastContent; ++number) {
        page += Reference(number) + " ";
    }
    WriteObject(PAGE, page + "]>>");
    std::string states;
    for (int const alpha : alphas) {
        std::string const name = std::to_string(alpha);
        std::string value;
        AppendPixels(value, alpha / 255.0);
        for (std::string const& text :
             {"/F" + name, "<</ca " + value, ">>/S" + name, "<</CA " + value, std::string(">>")}) {
            states += text;
        }
    }
    WriteObject(RESOURCES, "<</ExtGState<<" + states + ">>>>");
    WriteObject(INFORMATION, "<</Title(Map)/Creator(ambrel-shp)>>");
    std::uint64_t const table = position;
    std::string const count = std::to_string(offsets.size() + 1);
    Emit("xref\n0 " + count + "\n0000000000 65535 f \n");
    for (std::uint64_t const offset : offsets) {
        char entry[32];
        std::snprintf(entry, sizeof entry, "%010llu 00000 n \n",
                      static_cast<unsigned long long>(offset));
        Emit(entry);
    }
    Emit("trailer\n<</Size " + count + "/Root " + Reference(CATALOG) + "/Info " +
         Reference(INFORMATION) + ">>\nstartxref\n" + std::to_string(table) + "\n%%EOF\n");
}

} // namespace Ambrel::Tool
