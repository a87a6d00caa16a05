#pragma once

#include "drawing/Canvas.h"

#include <cstdint>

namespace Ambrel::Tool {

/// Writes a page in the Portable Document Format 1.4 (ISO 32000-1 describes it). The page's content
/// goes to the file in compressed pieces, as it is made: a page may have several content streams,
/// and is read as if they were one.
class PdfCanvas final : public Canvas {
public:
    PdfCanvas(OutputFile& target, int pixelWidth, int pixelHeight);

    void SetStyle(LayerStyle const& style) override;
    void PaintDot(Vertex const& center) override;
    void Fill(Path const& rings) override;
    void Stroke(Path const& lines) override;
    void FillAndStroke(Path const& rings) override;
    void Finish() override;

private:
    void Emit(std::string_view bytes);
    /// Starts the object of that number.
    void BeginObject(std::size_t number);
    void WriteObject(std::size_t number, std::string const& value);
    /// Writes what there is of the content as a stream of its own.
    void FlushContent();
    void SetAlpha(char const* key, QColor const& color);
    void UseDots(bool dots);
    void WritePath(Path const& path, char const* paint);
    void Operate(Vertex const& vertex, char const* operation);

    OutputFile& output;
    int width;
    int height;
    std::uint64_t position = 0;         ///< bytes written
    std::vector<std::uint64_t> offsets; ///< of the objects; the first has number 1
    std::vector<int> alphas;            ///< those that are in use, of 255
    std::string content;                ///< that is not written yet
    LayerStyle style;
    bool hasStyle = false;
    bool isDotStyle = false;
};

} // namespace Ambrel::Tool
