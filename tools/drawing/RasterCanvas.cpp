#include "drawing/RasterCanvas.h"

#include "drawing/Blending.h"
#include "formats/OutputFile.h"
#include "terminal/Interrupt.h"

#include <QIODevice>

#include <algorithm>
#include <exception>
#include <numbers>

namespace Ambrel::Tool {

namespace {

/// Of 0 to 100: a light compression. The usual one takes longer than the drawing.
constexpr int pngQuality = 80;
constexpr int mostPixelsInBand = 4 << 20; // 16 MiB of coverage
constexpr std::size_t edgesBetweenLooks = 1 << 14;

std::uint32_t PremultipliedOf(QColor const& color) {
    return color.isValid() ? qPremultiply(color.rgba()) : 0;
}

constexpr auto evenOdd = [](float sum) {
    float const size = std::fabs(sum);
    float const rest = size - 2.0F * static_cast<float>(static_cast<int>(size / 2.0F));
    return rest > 1.0F ? 2.0F - rest : rest;
};
constexpr auto nonZero = [](float sum) { return std::min(std::fabs(sum), 1.0F); };

/// Corners close enough for nobody to see that it is no circle.
std::vector<Vertex> DiscOf(double radius) {
    auto const corners = 8 + static_cast<int>(4 * std::sqrt(radius));
    std::vector<Vertex> disc;
    for (int i = 0; i < corners; ++i) {
        double const angle = 2 * std::numbers::pi * i / corners;
        disc.push_back({radius * std::cos(angle), radius * std::sin(angle)});
    }
    return disc;
}

/// Lets an image writer write to an output, and keeps what that throws from its frames.
class OutputDevice final : public QIODevice {
public:
    explicit OutputDevice(OutputFile& target) : output(target) { open(WriteOnly); }
    void RethrowFailure() const {
        if (failure) {
            std::rethrow_exception(failure);
        }
    }

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(char const* bytes, qint64 size) override {
        try {
            ThrowIfInterrupted();
            output.Append({bytes, static_cast<std::size_t>(size)});
            return size;
        } catch (...) {
            failure = std::current_exception();
            return -1;
        }
    }

private:
    OutputFile& output;
    std::exception_ptr failure;
};

} // namespace

RasterCanvas::RasterCanvas(OutputFile& target, int width, int height)
    : output(target), image(width, height, QImage::Format_RGB32),
      coverage(width, std::clamp(mostPixelsInBand / width, 1, height)) {
    if (image.isNull()) {
        throw std::bad_alloc();
    }
    Clear();
}

void RasterCanvas::Clear() {
    image.fill(Qt::white);
}

void RasterCanvas::SetStyle(LayerStyle const& style) {
    stroke = HasStroke(style) ? PremultipliedOf(style.color) : 0;
    fill = PremultipliedOf(style.fill);
    strokeWidth = style.width;
    isThin = IsThin(style);
    dot.reset();
    if (style.color.isValid()) {
        dot.emplace(style.color, style.width);
    }
    disc = DiscOf(strokeWidth / 2);
}

void RasterCanvas::PaintDot(Vertex const& center) {
    if (dot) {
        dot->Blend(image, center.x, center.y);
    }
}

auto RasterCanvas::Painter(std::uint32_t color) {
    auto* const pixels = reinterpret_cast<std::uint32_t*>(image.bits());
    std::ptrdiff_t const stride = image.bytesPerLine() / 4;
    constexpr float rounding = 0.5F; // shares are not negative; lround takes a call a pixel
    return [=](int row, int first, int end, float share) {
        auto const factor = static_cast<std::uint32_t>(share * 255.0F + rounding);
        std::uint32_t const top = factor == 255 ? color : ScalePixel(color, factor);
        std::uint32_t* const line = pixels + row * stride;
        if (end - first == 1) { // nearly always
            PutOver(top, line[first]);
        } else {
            PutOver(top, line + first, static_cast<std::size_t>(end - first));
        }
    };
}

template <class AddPath, class Sweep>
void RasterCanvas::InBands(Path const& path, double reach, AddPath add, Sweep sweep) {
    if (path.IsEmpty()) {
        return;
    }
    auto const [highest, lowest] =
        std::minmax_element(path.vertices.begin(), path.vertices.end(),
                            [](Vertex const& a, Vertex const& b) { return a.y < b.y; });
    double const end = std::min<double>(image.height(), lowest->y + reach);
    int const firstBand = static_cast<int>(std::max(highest->y - reach, 0.0)) / coverage.Rows();
    for (int top = firstBand * coverage.Rows(); top < end; top += coverage.Rows()) {
        coverage.MoveTo(top);
        add();
        sweep();
    }
}

void RasterCanvas::Fill(Path const& rings) {
    if (fill == 0) {
        return;
    }
    auto const addRing = [&](Vertex const* vertices, std::size_t count) {
        for (std::size_t i = 1; i < count; ++i) {
            coverage.AddEdge(vertices[i - 1], vertices[i]);
            if (i % edgesBetweenLooks == 0) {
                ThrowIfInterrupted();
            }
        }
    };
    InBands(
        rings, 0.0, [&] { rings.ForEachPart(addRing); },
        [&] { coverage.SweepArea(evenOdd, Painter(fill)); });
}

void RasterCanvas::Stroke(Path const& lines) {
    if (stroke == 0) {
        return;
    }
    isThin ? StrokeThin(lines) : StrokeWide(lines);
}

void RasterCanvas::StrokeThin(Path const& lines) {
    auto const addLine = [&](Vertex const* vertices, std::size_t count) {
        for (std::size_t i = 1; i < count; ++i) {
            coverage.AddThinLine(vertices[i - 1], vertices[i], strokeWidth / 2);
            if (i % edgesBetweenLooks == 0) {
                ThrowIfInterrupted();
            }
        }
    };
    InBands(
        lines, strokeWidth, [&] { lines.ForEachPart(addLine); },
        [&] { coverage.SweepLines(Painter(stroke)); });
}

void RasterCanvas::AddConvex(Vertex const* corners, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        coverage.AddEdge(corners[i], corners[i + 1 < count ? i + 1 : 0]);
    }
}

/// As bars with a disc at either end. All of them turn the same way, so that none takes away what
/// another covers.
void RasterCanvas::StrokeWide(Path const& lines) {
    std::vector<Vertex> end(disc.size());
    auto const addEnd = [&](Vertex const& center) {
        std::transform(disc.begin(), disc.end(), end.begin(), [&](Vertex const& corner) {
            return Vertex{center.x + corner.x, center.y + corner.y};
        });
        AddConvex(end.data(), end.size());
        ThrowIfInterrupted();
    };
    auto const addBar = [&](Vertex const& a, Vertex const& b) {
        double const length = std::hypot(b.x - a.x, b.y - a.y);
        double const x = (a.y - b.y) / length * strokeWidth / 2;
        double const y = (b.x - a.x) / length * strokeWidth / 2;
        if (length > 0.0) {
            Vertex const corners[] = {
                {a.x - x, a.y - y}, {b.x - x, b.y - y}, {b.x + x, b.y + y}, {a.x + x, a.y + y}};
            AddConvex(corners, std::size(corners));
        }
    };
    auto const addLine = [&](Vertex const* vertices, std::size_t count) {
        addEnd(vertices[0]);
        for (std::size_t i = 1; i < count; ++i) {
            addBar(vertices[i - 1], vertices[i]);
            addEnd(vertices[i]);
        }
    };
    InBands(
        lines, strokeWidth, [&] { lines.ForEachPart(addLine); },
        [&] { coverage.SweepArea(nonZero, Painter(stroke)); });
}

void RasterCanvas::Finish() {
    OutputDevice device(output);
    bool const isSaved = image.save(&device, "PNG", pngQuality);
    device.RethrowFailure();
    if (!isSaved) {
        throw std::bad_alloc();
    }
}

} // namespace Ambrel::Tool
