#include "formats/GeometryWalk.h"

#include <algorithm>
#include <cmath>

namespace Ambrel::Tool {

namespace {

/// An area's outer ring. The shell of a donut may be an area of any kind.
BPolygon const* OuterRing(BAreaGeo const* area) noexcept {
    while (area && area->type == GEO_DONUT) {
        area = static_cast<BDonut const*>(area)->GetShell().Get();
    }
    auto const* const ring = static_cast<BPolygon const*>(area);
    return ring && ring->GetPoints().GetCount() > 0 ? ring : nullptr;
}

} // namespace

char const* NameOf(GeometryKind kind) noexcept {
    static constexpr char const* names[] = {"Point",      "LineString",      "Polygon",
                                            "MultiPoint", "MultiLineString", "MultiPolygon"};
    return names[static_cast<std::size_t>(kind) - 1];
}

std::optional<GeometryKind> KindOf(BGeometry const& geometry) noexcept {
    switch (geometry.type) {
    case GEO_POINT: return GeometryKind::Point;
    case GEO_POLYLINE: return GeometryKind::LineString;
    case GEO_POLYGON:
    case GEO_DONUT: return GeometryKind::Polygon;
    case GEO_AGGREGATE_POINT: return GeometryKind::MultiPoint;
    case GEO_AGGREGATE_LINEAR: return GeometryKind::MultiLineString;
    case GEO_AGGREGATE_AREA: return GeometryKind::MultiPolygon;
    case GEO_NONE: break;
    }
    return std::nullopt;
}

namespace detail {

BPolygon const* ShellOf(BAreaGeo const& area) noexcept {
    return OuterRing(&area);
}

std::vector<BPolygon const*> HolesOf(BAreaGeo const& area) {
    std::vector<BPolygon const*> holes;
    if (area.type == GEO_DONUT) {
        auto const& donut = static_cast<BDonut const&>(area);
        for (std::uint64_t i = 0; i < donut.GetHoleCount(); ++i) {
            if (BPolygon const* const hole = OuterRing(donut.GetHoleAt(i).Get())) {
                holes.push_back(hole);
            }
        }
    }
    return holes;
}

} // namespace detail

std::uint64_t ClosedCount(BPoints const& ring, bool is3d) {
    std::uint64_t const count = ring.GetCount();
    if (count == 0) {
        return 0;
    }
    BPoint const& first = ring.GetAt(0);
    BPoint const& last = ring.GetLast();
    bool const isClosed = first.X == last.X && first.Y == last.Y && (!is3d || first.Z == last.Z);
    return isClosed ? count : count + 1;
}

bool IsFinite(BGeometry const& geometry) {
    bool const is3d = geometry.is3d != 0;
    bool isFinite = true;
    ForEachPart(geometry, [&](BPoint const* points, std::uint64_t count) {
        isFinite = isFinite && std::all_of(points, points + count, [=](BPoint const& point) {
                       return std::isfinite(point.X) && std::isfinite(point.Y) &&
                              (!is3d || std::isfinite(point.Z));
                   });
    });
    return isFinite;
}

BRect BoxOf(BGeometry const& geometry) {
    BRect box;
    ForEachPart(geometry, [&](BPoint const* points, std::uint64_t count) {
        for (std::uint64_t i = 0; i < count; ++i) {
            box.xMin = std::min(box.xMin, points[i].X);
            box.xMax = std::max(box.xMax, points[i].X);
            box.yMin = std::min(box.yMin, points[i].Y);
            box.yMax = std::max(box.yMax, points[i].Y);
        }
    });
    return box;
}

} // namespace Ambrel::Tool
