#include "drawing/PainterRenderer.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace Ambrel::Tool {

namespace {

/// Wider lines show their joins.
constexpr double thinWidth = 2.0; // pixels

QPen PenOf(LayerStyle const& style) {
    if (!style.color.isValid() || style.width <= 0.0) {
        return Qt::NoPen;
    }
    bool const isThin = style.width <= thinWidth;
    return QPen(style.color, style.width, Qt::SolidLine, isThin ? Qt::FlatCap : Qt::RoundCap,
                isThin ? Qt::BevelJoin : Qt::RoundJoin);
}

/// Calls `draw(first vertex, count)` for every part that lies within the vertices and has any.
template <class Draw>
void ForEachPart(int count, int const* partStarts, int partCount, Draw&& draw) {
    auto const start = [=](int part) { return part < partCount ? partStarts[part] : count; };
    for (int part = 0; part < partCount; ++part) {
        int const first = start(part);
        int const end = start(part + 1);
        if (first >= 0 && first < end && end <= count) {
            draw(first, end - first);
        }
    }
}

/// Whether the coordinates differ by less than so many units.
bool AreNear(int a, int b, int units) {
    return std::abs(std::int64_t{a} - b) < units;
}

/// Whether it is smaller than a pixel.
bool IsTiny(Gdiplus::Point const* points, int count, int unitsPerPixel) {
    auto const isNear = [=](Gdiplus::Point const& point) {
        return AreNear(point.X, points->X, unitsPerPixel) &&
               AreNear(point.Y, points->Y, unitsPerPixel);
    };
    return std::all_of(points, points + count, isNear);
}

/// In pixels.
QRectF BoundsOf(Gdiplus::Point const* points, int count, double pixel) {
    auto const isLeft = [](auto const& a, auto const& b) { return a.X < b.X; };
    auto const isAbove = [](auto const& a, auto const& b) { return a.Y < b.Y; };
    auto const [left, right] = std::minmax_element(points, points + count, isLeft);
    auto const [top, bottom] = std::minmax_element(points, points + count, isAbove);
    return QRectF(QPointF(left->X / pixel, top->Y / pixel),
                  QPointF(right->X / pixel, bottom->Y / pixel));
}

} // namespace

PainterRenderer::PainterRenderer(QPainter& newPainter, QImage* newImage, MapWindow const& newWindow,
                                 LayerStyle const& newStyle)
    : painter(newPainter), image(newImage), window(newWindow), style(newStyle),
      pixel(window.UnitsPerPixel()), dot(newStyle.color, newStyle.width) {
    painter.setRenderHint(QPainter::Antialiasing);
    UseShapeStyle();
}

void PainterRenderer::UseShapeStyle() const {
    painter.setPen(PenOf(style));
    painter.setBrush(style.fill.isValid() ? QBrush(style.fill) : QBrush(Qt::NoBrush));
    isDotStyle = false;
}

void PainterRenderer::UseStyleOf(bool dots) const {
    if (dots && !isDotStyle) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(style.color);
        isDotStyle = true;
    } else if (!dots && isDotStyle) {
        UseShapeStyle();
    }
}

bool PainterRenderer::ConvertMapToWindow(double& x, double& y) const {
    window.ToWindow(x, y);
    return true;
}

void PainterRenderer::DrawDot(double x, double y) const {
    if (!style.color.isValid()) {
        return;
    }
    if (image) {
        dot.Blend(*image, x, y);
        return;
    }
    UseStyleOf(true);
    painter.drawEllipse(QPointF(x, y), style.width / 2, style.width / 2);
}

bool PainterRenderer::DrawPoint(Gdiplus::PointF const& point) const {
    DrawDot(point.X / pixel, point.Y / pixel);
    return true;
}

bool PainterRenderer::DrawPoints(Gdiplus::PointF const* points, int count) const {
    std::for_each(points, points + std::max(count, 0),
                  [this](Gdiplus::PointF const& point) { DrawPoint(point); });
    return count > 0;
}

/// The vertices in pixels, without those that can not be told from their neighbours.
QPolygonF const& PainterRenderer::Simplify(Gdiplus::Point const* points, int count) const {
    // Vertices nearer than this to the last one drawn can not be told from it.
    int const tolerance = window.UnitsPerPixel() / 2;
    vertices.resize(0);
    Gdiplus::Point kept = points[0];
    vertices.append(QPointF(kept.X / pixel, kept.Y / pixel));
    for (int i = 1; i < count; ++i) {
        Gdiplus::Point const& point = points[i];
        bool const isFar =
            !AreNear(point.X, kept.X, tolerance) || !AreNear(point.Y, kept.Y, tolerance);
        if (isFar || i + 1 == count) {
            vertices.append(QPointF(point.X / pixel, point.Y / pixel));
            kept = point;
        }
    }
    return vertices;
}

bool PainterRenderer::DrawPolyline(Gdiplus::Point const* points, int count, int const* partStarts,
                                   int partCount) const {
    ForEachPart(count, partStarts, partCount, [&](int first, int size) {
        if (IsTiny(points + first, size, window.UnitsPerPixel())) {
            DrawDot(points[first].X / pixel, points[first].Y / pixel);
        } else {
            UseStyleOf(false);
            painter.drawPolyline(Simplify(points + first, size));
        }
    });
    return partCount > 0;
}

bool PainterRenderer::DrawPolygon(Gdiplus::Point const* points, int count, int const* partStarts,
                                  int partCount) const {
    UseStyleOf(false);
    if (count > 0 && IsTiny(points, count, window.UnitsPerPixel())) {
        painter.fillRect(BoundsOf(points, count, pixel), painter.brush());
        DrawDot(points->X / pixel, points->Y / pixel);
        return true;
    }
    if (partCount == 1) {
        ForEachPart(count, partStarts, partCount, [&](int first, int size) {
            painter.drawPolygon(Simplify(points + first, size), Qt::OddEvenFill);
        });
        return true;
    }
    path.clear();
    path.setFillRule(Qt::OddEvenFill);
    ForEachPart(count, partStarts, partCount, [&](int first, int size) {
        path.addPolygon(Simplify(points + first, size));
        path.closeSubpath();
    });
    painter.drawPath(path);
    return partCount > 0;
}

} // namespace Ambrel::Tool
