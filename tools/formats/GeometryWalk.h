#pragma once

#include "Ambrel/BAggregate.h"
#include "Ambrel/BAreaGeo.h"
#include "Ambrel/BGeometry.h"

#include <vector>

namespace Ambrel::Tool {

/// The shell of a polygon and its holes.
struct AreaRings {
    BPolygon const* shell = nullptr; ///< null for an area that has none
    std::vector<BPolygon const*> holes;
};

/// The rings of a BPolygon or a BDonut.
AreaRings RingsOf(BAreaGeo const& area);

/// Whether every coordinate that the geometry means is a finite number. Z counts where the
/// geometry's own flag says that it means something.
bool IsFinite(BGeometry const& geometry);

/// How many vertices the ring has when it is closed: one more than it states where it ends with
/// another vertex than it began with. Vertices that differ in Z alone differ where `is3d`.
std::uint64_t ClosedCount(BPoints const& ring, bool is3d);

/// Calls `visit(points, count)` for every part of the geometry: a `BPoint const*` and how many
/// vertices there are.
template <class Visitor>
void ForEachPart(BGeometry const& geometry, Visitor&& visit);

// ---------------------------------------------------------------------------------------------

namespace detail {

template <class Visitor>
void VisitPoints(BPoints const& points, Visitor& visit) {
    visit(points.begin(), points.GetCount());
}

template <class Aggregate, class Visitor>
void VisitMembers(BGeometry const& geometry, Visitor& visit) {
    auto const& aggregate = static_cast<Aggregate const&>(geometry);
    for (std::uint64_t i = 0; i < aggregate.GetCount(); ++i) {
        ForEachPart(*aggregate.GetGeometryAt(i), visit);
    }
}

} // namespace detail

template <class Visitor>
void ForEachPart(BGeometry const& geometry, Visitor&& visit) {
    switch (geometry.type) {
    case GEO_POINT:
        visit(&static_cast<BPointGeo const&>(geometry).GetPoint(), std::uint64_t{1});
        return;
    case GEO_POLYLINE:
        return detail::VisitPoints(static_cast<BPolyline const&>(geometry).GetPoints(), visit);
    case GEO_POLYGON:
    case GEO_DONUT: {
        AreaRings const rings = RingsOf(static_cast<BAreaGeo const&>(geometry));
        if (rings.shell) {
            detail::VisitPoints(rings.shell->GetPoints(), visit);
        }
        for (BPolygon const* const hole : rings.holes) {
            detail::VisitPoints(hole->GetPoints(), visit);
        }
        return;
    }
    case GEO_AGGREGATE_POINT: return detail::VisitMembers<BAggregatePoint>(geometry, visit);
    case GEO_AGGREGATE_LINEAR: return detail::VisitMembers<BAggregateLinear>(geometry, visit);
    case GEO_AGGREGATE_AREA: return detail::VisitMembers<BAggregateArea>(geometry, visit);
    case GEO_NONE: return;
    }
}

} // namespace Ambrel::Tool
