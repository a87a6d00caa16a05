#pragma once

#include "Ambrel/BAggregate.h"
#include "Ambrel/BAreaGeo.h"
#include "Ambrel/BGeometry.h"
#include "Ambrel/BRect.h"

#include <optional>
#include <vector>

namespace Ambrel::Tool {

/// The kinds of geometries of the simple feature model; the values are its codes in well-known
/// binary.
enum class GeometryKind : std::uint8_t {
    Point = 1,
    LineString = 2,
    Polygon = 3,
    MultiPoint = 4,
    MultiLineString = 5,
    MultiPolygon = 6,
};

/// "MultiPoint"
char const* NameOf(GeometryKind kind) noexcept;
/// None for GEO_NONE.
std::optional<GeometryKind> KindOf(BGeometry const& geometry) noexcept;

/// The one way through a geometry for whoever writes or measures it. The visitor gets:
///
///     Begin(GeometryKind kind, std::uint64_t count);
///         A geometry of `count` vertices (point, line), rings (polygon) or members, which follow.
///     Vertices(BPoint const* first, std::uint64_t count);
///         The vertices of the point or the line.
///     Ring(BPolygon const& ring, bool isShell);
///         A ring of the polygon, its shell first. It has vertices, and need not be closed.
///     End(GeometryKind kind);
///
/// The members of a multi-geometry come as geometries of their own between its Begin and its End.
/// A polygon whose shell has no vertices has no rings. GEO_NONE gives nothing.
template <class Visitor>
void VisitGeometry(BGeometry const& geometry, Visitor& visitor);

/// Calls `visit(points, count)` for every part of the geometry: a `BPoint const*` and how many
/// vertices there are. A polygon without vertices is one part of none.
template <class Visit>
void ForEachPart(BGeometry const& geometry, Visit&& visit);

/// Whether every coordinate that the geometry means is a finite number. Z counts where the
/// geometry's own flag says that it means something.
bool IsFinite(BGeometry const& geometry);

/// The rectangle of all vertices; empty where there are none.
BRect BoxOf(BGeometry const& geometry);

/// How many vertices the ring has when it is closed: one more than it states where it ends with
/// another vertex than it began with. Vertices that differ in Z alone differ where `is3d`.
std::uint64_t ClosedCount(BPoints const& ring, bool is3d);

// ---------------------------------------------------------------------------------------------

namespace detail {

/// The outer ring of an area; null where it has none with vertices.
BPolygon const* ShellOf(BAreaGeo const& area) noexcept;
/// The holes of an area that has a shell.
std::vector<BPolygon const*> HolesOf(BAreaGeo const& area);

template <class Visitor>
void VisitPoint(BPointGeo const& point, Visitor& visitor) {
    visitor.Begin(GeometryKind::Point, 1);
    visitor.Vertices(&point.GetPoint(), 1);
    visitor.End(GeometryKind::Point);
}

template <class Visitor>
void VisitLine(BLinearGeo const& line, Visitor& visitor) {
    BPoints const& points = static_cast<BPolyline const&>(line).GetPoints();
    visitor.Begin(GeometryKind::LineString, points.GetCount());
    visitor.Vertices(points.begin(), points.GetCount());
    visitor.End(GeometryKind::LineString);
}

template <class Visitor>
void VisitArea(BAreaGeo const& area, Visitor& visitor) {
    BPolygon const* const shell = ShellOf(area);
    std::vector<BPolygon const*> const holes = HolesOf(area);
    visitor.Begin(GeometryKind::Polygon, shell ? holes.size() + 1 : 0);
    if (shell) {
        visitor.Ring(*shell, true);
        for (BPolygon const* const hole : holes) {
            visitor.Ring(*hole, false);
        }
    }
    visitor.End(GeometryKind::Polygon);
}

template <class Aggregate, class Visitor, class Member>
void VisitMembers(GeometryKind kind, BGeometry const& geometry, Visitor& visitor, Member&& member) {
    auto const& aggregate = static_cast<Aggregate const&>(geometry);
    visitor.Begin(kind, aggregate.GetCount());
    for (std::uint64_t i = 0; i < aggregate.GetCount(); ++i) {
        member(*aggregate.GetGeometryAt(i), visitor);
    }
    visitor.End(kind);
}

template <class Visit>
struct PartVisitor {
    Visit& visit;
    void Begin(GeometryKind kind, std::uint64_t count) {
        if (kind == GeometryKind::Polygon && count == 0) {
            visit(static_cast<BPoint const*>(nullptr), std::uint64_t{0});
        }
    }
    void Vertices(BPoint const* first, std::uint64_t count) { visit(first, count); }
    void Ring(BPolygon const& ring, bool) {
        visit(ring.GetPoints().begin(), ring.GetPoints().GetCount());
    }
    void End(GeometryKind) {}
};

} // namespace detail

template <class Visitor>
void VisitGeometry(BGeometry const& geometry, Visitor& visitor) {
    switch (geometry.type) {
    case GEO_POINT: return detail::VisitPoint(static_cast<BPointGeo const&>(geometry), visitor);
    case GEO_POLYLINE: return detail::VisitLine(static_cast<BPolyline const&>(geometry), visitor);
    case GEO_POLYGON:
    case GEO_DONUT: return detail::VisitArea(static_cast<BAreaGeo const&>(geometry), visitor);
    case GEO_AGGREGATE_POINT:
        return detail::VisitMembers<BAggregatePoint>(GeometryKind::MultiPoint, geometry, visitor,
                                                     detail::VisitPoint<Visitor>);
    case GEO_AGGREGATE_LINEAR:
        return detail::VisitMembers<BAggregateLinear>(GeometryKind::MultiLineString, geometry,
                                                      visitor, detail::VisitLine<Visitor>);
    case GEO_AGGREGATE_AREA:
        return detail::VisitMembers<BAggregateArea>(GeometryKind::MultiPolygon, geometry, visitor,
                                                    detail::VisitArea<Visitor>);
    case GEO_NONE: return;
    }
}

template <class Visit>
void ForEachPart(BGeometry const& geometry, Visit&& visit) {
    detail::PartVisitor<Visit> visitor{visit};
    VisitGeometry(geometry, visitor);
}

} // namespace Ambrel::Tool
