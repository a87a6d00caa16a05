#include "drawing/MapRenderer.h"

#include "terminal/Interrupt.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace Ambrel::Tool {

namespace {

constexpr std::uint32_t conversionsBetweenLooks = 1 << 16;
/// Beyond this, the format has it, a number stands for no data.
constexpr double mostCoordinate = 1e38;
// What a record of the format has before its vertices, parts and vertices, in bytes.
constexpr std::uint64_t pointSize = 20;
constexpr std::uint64_t headSize = 44;
constexpr std::uint64_t partSize = 4;
constexpr std::uint64_t vertexSize = 16;

constexpr PixelBox nowhere{std::numeric_limits<double>::max(), std::numeric_limits<double>::max(),
                           std::numeric_limits<double>::lowest(),
                           std::numeric_limits<double>::lowest()};

std::uint64_t SizeOf(int parts, int vertices) {
    return headSize + static_cast<std::uint64_t>(std::max(parts, 0)) * partSize +
           static_cast<std::uint64_t>(std::max(vertices, 0)) * vertexSize;
}

bool IsUsable(double coordinate) {
    return std::fabs(coordinate) <= mostCoordinate;
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

void Include(Vertex const& vertex, PixelBox& box) {
    box.left = std::min(box.left, vertex.x);
    box.right = std::max(box.right, vertex.x);
    box.top = std::min(box.top, vertex.y);
    box.bottom = std::max(box.bottom, vertex.y);
}

void Include(PixelBox const& other, PixelBox& box) {
    Include(Vertex{other.left, other.top}, box);
    Include(Vertex{other.right, other.bottom}, box);
}

bool IsEmpty(PixelBox const& box) {
    return box.left > box.right;
}

/// Whether it is smaller than a pixel.
bool IsTiny(PixelBox const& box) {
    return box.right - box.left < 1.0 && box.bottom - box.top < 1.0;
}

} // namespace

MapRenderer::MapRenderer(Canvas* target, MapWindow const& mapWindow, LayerStyle const& layerStyle)
    : canvas(target), window(mapWindow), style(layerStyle), pixel(window.UnitsPerPixel()),
      tolerance(window.UnitsPerPixel() / 2), picture{0.0, 0.0, static_cast<double>(window.Width()),
                                                     static_cast<double>(window.Height())} {
    double const margin = style.width / 2 + 1.0;
    reach = {-margin, -margin, picture.right + margin, picture.bottom + margin};
    if (canvas) {
        canvas->SetStyle(style);
    }
}

void MapRenderer::BringIntoMap(double& x, double& y) const {
    bool const isPlace = IsUsable(x) && IsUsable(y);
    if (!isPlace || !transform->Apply(x, y)) {
        x = y = std::numeric_limits<double>::quiet_NaN();
        lostVertices += isPlace && !isMuted ? 1 : 0;
    }
}

bool MapRenderer::ConvertMapToWindow(double& x, double& y) const {
    if (++conversions % conversionsBetweenLooks == 0) {
        ThrowIfInterrupted();
    }
    if (transform) {
        BringIntoMap(x, y);
    }
    if (IsUsable(x) && IsUsable(y)) {
        extent.xMin = std::min(extent.xMin, x);
        extent.xMax = std::max(extent.xMax, x);
        extent.yMin = std::min(extent.yMin, y);
        extent.yMax = std::max(extent.yMax, y);
    }
    window.ToWindow(x, y);
    return true;
}

bool MapRenderer::Admit(std::uint64_t bytes) const {
    ThrowIfInterrupted();
    if (!isMuted && budget && !budget->Take(bytes)) {
        throw BudgetSpentException();
    }
    ++drawnRecords;
    return canvas && !isMuted;
}

void MapRenderer::PaintDot(Vertex const& center) const {
    if (reach.Contains({center.x, center.y, center.x, center.y})) {
        canvas->PaintDot(center);
        hasPainted = true;
    }
}

bool MapRenderer::DrawPoint(Gdiplus::PointF const& point) const {
    if (Admit(pointSize)) {
        PaintDot({point.X / pixel, point.Y / pixel});
    }
    return true;
}

bool MapRenderer::DrawPoints(Gdiplus::PointF const* points, int count) const {
    if (Admit(SizeOf(0, count))) {
        for (int i = 0; i < count; ++i) {
            PaintDot({points[i].X / pixel, points[i].Y / pixel});
        }
    }
    return count > 0;
}

PixelBox MapRenderer::Simplify(Gdiplus::Point const* points, int count, bool isRing) const {
    PixelBox box = nowhere;
    Gdiplus::Point kept;
    bool isFirst = true;
    auto const keep = [&](Gdiplus::Point const& point) {
        path.vertices.push_back({point.X / pixel, point.Y / pixel});
        Include(path.vertices.back(), box);
        kept = point;
        isFirst = false;
    };
    for (int i = 0; i < count; ++i) {
        Gdiplus::Point const& point = points[i];
        if (point.X == MapWindow::noPlace || point.Y == MapWindow::noPlace) {
            if (!isRing) { // nothing joins what lies on either side
                path.EndPart();
                isFirst = true;
            }
        } else if (isFirst || i + 1 == count || !AreNear(point.X, kept.X, tolerance) ||
                   !AreNear(point.Y, kept.Y, tolerance)) {
            keep(point);
        }
    }
    isRing ? path.CloseRing() : path.EndPart();
    return box;
}

bool MapRenderer::DrawPolyline(Gdiplus::Point const* points, int count, int const* partStarts,
                               int partCount) const {
    if (!Admit(SizeOf(partCount, count))) {
        return false;
    }
    path.Clear();
    PixelBox whole = nowhere;
    ForEachPart(count, partStarts, partCount, [&](int first, int size) {
        Path::Mark const before = path.Here();
        PixelBox const box = Simplify(points + first, size, false);
        if (IsEmpty(box)) {
            return;
        }
        if (IsTiny(box)) {
            path.GoBackTo(before);
            PaintDot({box.left, box.top});
        } else {
            Include(box, whole);
        }
    });
    if (!IsEmpty(whole) && reach.Meets(whole)) {
        bool const isInside = reach.Contains(whole);
        clipped.Clear();
        if (!isInside) {
            ClipLines(path, reach, clipped);
        }
        Path const& seen = isInside ? path : clipped;
        canvas->Stroke(seen);
        hasPainted = hasPainted || !seen.IsEmpty();
    }
    return partCount > 0;
}

/// Filled as far as its box, and with a dot for its outline.
void MapRenderer::PaintTinyArea(PixelBox const& box) const {
    path.Clear();
    path.vertices = {
        {box.left, box.top}, {box.right, box.top}, {box.right, box.bottom}, {box.left, box.bottom}};
    path.CloseRing();
    canvas->Fill(path);
    PaintDot({box.left, box.top});
}

bool MapRenderer::DrawPolygon(Gdiplus::Point const* points, int count, int const* partStarts,
                              int partCount) const {
    if (!Admit(SizeOf(partCount, count))) {
        return false;
    }
    path.Clear();
    PixelBox whole = nowhere;
    ForEachPart(count, partStarts, partCount,
                [&](int first, int size) { Include(Simplify(points + first, size, true), whole); });
    if (IsEmpty(whole) || !reach.Meets(whole)) {
        return partCount > 0;
    }
    if (IsTiny(whole)) {
        PaintTinyArea(whole);
    } else if (picture.Contains(whole)) {
        canvas->FillAndStroke(path);
    } else {
        clipped.Clear();
        ClipRings(path, picture, clipped);
        canvas->Fill(clipped);
        hasPainted = hasPainted || !clipped.IsEmpty();
        clipped.Clear();
        ClipLines(path, reach, clipped);
        canvas->Stroke(clipped);
        hasPainted = hasPainted || !clipped.IsEmpty();
        return true;
    }
    hasPainted = true;
    return true;
}

} // namespace Ambrel::Tool
