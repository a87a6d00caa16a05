#include "ShpReader/writing/ShapeBuilder.h"

#include <algorithm>

namespace Ambrel {

bool ShapeBuilder::Build(BGeometry const* geometry, std::vector<double> const& measures) {
    vertices.clear();
    partStarts.clear();
    givenMeasures = &measures;
    measuresTaken = 0;
    hasMeasures = false;
    return !geometry || AddGeometry(*geometry);
}

bool ShapeBuilder::AddGeometry(BGeometry const& geometry) {
    switch (type.layout) {
    case ShapeLayout::Point:
    case ShapeLayout::MultiPoint: return AddPoints(geometry);
    case ShapeLayout::Polyline: return AddLines(geometry);
    case ShapeLayout::Polygon: return AddAreas(geometry);
    case ShapeLayout::Null:
    case ShapeLayout::MultiPatch: break;
    }
    return false;
}

/// A single point is a multipoint of one; several are no point.
bool ShapeBuilder::AddPoints(BGeometry const& geometry) {
    if (geometry.type == GEO_POINT) {
        AddVertex(static_cast<BPointGeo const&>(geometry).GetPoint());
        return true;
    }
    if (geometry.type != GEO_AGGREGATE_POINT || type.layout == ShapeLayout::Point) {
        return false;
    }
    auto const& members = static_cast<BAggregatePoint const&>(geometry);
    for (std::uint64_t i = 0; i < members.GetCount(); ++i) {
        AddVertex(members.GetGeometryAt(i)->GetPoint());
    }
    return true;
}

bool ShapeBuilder::AddLines(BGeometry const& geometry) {
    if (geometry.type == GEO_POLYLINE) {
        AddPart(static_cast<BPolyline const&>(geometry).GetPoints());
        return true;
    }
    if (geometry.type != GEO_AGGREGATE_LINEAR) {
        return false;
    }
    auto const& members = static_cast<BAggregateLinear const&>(geometry);
    for (std::uint64_t i = 0; i < members.GetCount(); ++i) {
        BLinearGeo const& member = *members.GetGeometryAt(i);
        if (member.type != GEO_POLYLINE) {
            return false;
        }
        AddPart(static_cast<BPolyline const&>(member).GetPoints());
    }
    return true;
}

bool ShapeBuilder::AddAreas(BGeometry const& geometry) {
    if (geometry.type == GEO_DONUT) {
        return AddDonut(static_cast<BDonut const&>(geometry));
    }
    if (geometry.type == GEO_POLYGON) {
        return AddRing(static_cast<BPolygon const*>(&geometry), ORIENTATION_CLOCKWISE);
    }
    if (geometry.type != GEO_AGGREGATE_AREA) {
        return false;
    }
    auto const& members = static_cast<BAggregateArea const&>(geometry);
    for (std::uint64_t i = 0; i < members.GetCount(); ++i) {
        BAreaGeo const& member = *members.GetGeometryAt(i);
        bool const isAdded = member.type == GEO_DONUT ? AddDonut(static_cast<BDonut const&>(member))
                                                      : AddRing(&member, ORIENTATION_CLOCKWISE);
        if (!isAdded) {
            return false;
        }
    }
    return true;
}

bool ShapeBuilder::AddDonut(BDonut const& donut) {
    bool isAdded = AddRing(donut.GetShell().Get(), ORIENTATION_CLOCKWISE);
    for (std::uint64_t i = 0; isAdded && i < donut.GetHoleCount(); ++i) {
        isAdded = AddRing(donut.GetHoleAt(i).Get(), ORIENTATION_COUNTERCLOCKWISE);
    }
    return isAdded;
}

/// A ring without area keeps its order. What closes a ring repeats its first vertex, measure
/// included.
bool ShapeBuilder::AddRing(BAreaGeo const* area, EOrientation orientation) {
    if (!area || area->type != GEO_POLYGON) {
        return false;
    }
    auto const& ring = static_cast<BPolygon const&>(*area);
    std::size_t const first = vertices.size();
    AddPart(ring.GetPoints());
    if (vertices.size() == first) {
        return true;
    }
    if (IsOpenFrom(first)) {
        vertices.push_back(ShapeVertex(vertices[first]));
    }
    EOrientation const given = ring.GetOrientation();
    if (given != ORIENTATION_NONE && given != orientation) {
        std::reverse(vertices.begin() + static_cast<std::ptrdiff_t>(first), vertices.end());
    }
    return true;
}

void ShapeBuilder::AddPart(BPoints const& points) {
    if (points.GetCount() > 0) {
        partStarts.push_back(static_cast<std::uint32_t>(vertices.size()));
    }
    for (BPoint const& point : points) {
        AddVertex(point);
    }
}

void ShapeBuilder::AddVertex(BPoint const& point) {
    ShapeVertex vertex{point.X, point.Y, point.Z};
    if (measuresTaken < givenMeasures->size()) {
        double const measure = (*givenMeasures)[measuresTaken++];
        if (measure == measure) { // NaN is no measure
            vertex.measure = measure;
            hasMeasures = true;
        }
    }
    vertices.push_back(vertex);
}

bool ShapeBuilder::IsOpenFrom(std::size_t first) const noexcept {
    ShapeVertex const& start = vertices[first];
    ShapeVertex const& end = vertices.back();
    return start.x != end.x || start.y != end.y;
}

} // namespace Ambrel
