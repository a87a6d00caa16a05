#include "drawing/DotSprite.h"

#include "drawing/Blending.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace Ambrel::Tool {

namespace {

std::vector<std::uint32_t> DrawDot(QColor const& color, double diameter, int side, double x,
                                   double y) {
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(QPointF(x, y), diameter / 2, diameter / 2);
    painter.end();
    auto const* const bits = reinterpret_cast<std::uint32_t const*>(image.constBits());
    return {bits, bits + static_cast<std::ptrdiff_t>(side) * side};
}

} // namespace

DotSprite::DotSprite(QColor const& color, double diameter)
    : side(static_cast<int>(std::ceil(diameter)) + 2) {
    int const middle = side / 2;
    for (int phase = 0; phase < phases * phases; ++phase) {
        int const column = phase % phases;
        int const row = phase / phases;
        double const x = middle + (column + 0.5) / phases;
        double const y = middle + (row + 0.5) / phases;
        pixels[phase] = DrawDot(color, diameter, side, x, y);
    }
}

void DotSprite::Blend(QImage& image, double x, double y) const {
    double const reach = side;
    if (!(x > -reach && y > -reach && x < image.width() + reach && y < image.height() + reach)) {
        return;
    }
    auto const column = static_cast<int>(std::floor(x));
    auto const row = static_cast<int>(std::floor(y));
    // A hair below a whole pixel, the difference is rounded up to 1.
    auto const phaseX = std::min(static_cast<int>((x - column) * phases), phases - 1);
    auto const phaseY = std::min(static_cast<int>((y - row) * phases), phases - 1);
    std::uint32_t const* const sprite = pixels[phaseY * phases + phaseX].data();
    int const left = column - side / 2;
    int const top = row - side / 2;
    int const firstX = std::max(0, -left);
    int const endX = std::min(side, image.width() - left);
    std::ptrdiff_t const stride = image.bytesPerLine() / 4;
    auto* const bits = reinterpret_cast<std::uint32_t*>(image.bits());
    for (int y1 = std::max(0, -top); y1 < std::min(side, image.height() - top); ++y1) {
        std::uint32_t* const line = bits + (top + y1) * stride + left;
        for (int x1 = firstX; x1 < endX; ++x1) {
            PutOver(sprite[y1 * side + x1], line[x1]);
        }
    }
}

} // namespace Ambrel::Tool
