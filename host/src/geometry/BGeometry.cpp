#include "Ambrel/BGeometry.h"

#include "geometry/VertexBox.h"

#include <array>

namespace Ambrel {

namespace {

struct ClassOfType {
    EGeometryType type;
    EGeometryClass geometryClass;
};

constexpr std::array classes{
    ClassOfType{GEO_POINT, GEO_CLASS_POINTS},
    ClassOfType{GEO_POLYGON, GEO_CLASS_AREAS},
    ClassOfType{GEO_DONUT, GEO_CLASS_AREAS},
    ClassOfType{GEO_POLYLINE, GEO_CLASS_LINES},
    ClassOfType{GEO_AGGREGATE_POINT, GEO_CLASS_MULTIPOINTS},
    ClassOfType{GEO_AGGREGATE_LINEAR, GEO_CLASS_LINES},
    ClassOfType{GEO_AGGREGATE_AREA, GEO_CLASS_AREAS},
};

void Stretch(double& lowest, double& highest, double value) noexcept {
    if (value < lowest) {
        lowest = value;
    }
    if (value > highest) {
        highest = value;
    }
}

BBox BoxOfVertices(BPoint const* begin, BPoint const* end, bool in3d) noexcept {
    BBox box;
    for (BPoint const* vertex = begin; vertex != end; ++vertex) {
        Stretch(box.xMin, box.xMax, vertex->X);
        Stretch(box.yMin, box.yMax, vertex->Y);
        if (in3d) {
            Stretch(box.zMin, box.zMax, vertex->Z);
        }
    }
    return box;
}

BBox BoxOfVertex(BPoint const& vertex, bool in3d) noexcept {
    return BoxOfVertices(&vertex, &vertex + 1, in3d);
}

} // namespace

BBox BoxOfVertices(BPoints const& vertices, bool in3d) noexcept {
    return BoxOfVertices(vertices.begin(), vertices.end(), in3d);
}

BBox BoxOfDonut(BDonut const& donut, bool in3d) {
    BBox box;
    if (donut.GetShell()) {
        box = BoxOfPart(*donut.GetShell(), in3d);
    }
    for (std::uint64_t i = 0; i < donut.GetHoleCount(); ++i) {
        if (donut.GetHoleAt(i)) {
            box.Union(BoxOfPart(*donut.GetHoleAt(i), in3d));
        }
    }
    return box;
}

BBox BoxOfPart(BGeometry const& part, bool in3d) {
    in3d = in3d || part.is3d;
    switch (part.type) {
    case GEO_POINT: return BoxOfVertex(static_cast<BPointGeo const&>(part).GetPoint(), in3d);
    case GEO_POLYLINE: return BoxOfVertices(static_cast<BPolyline const&>(part).GetPoints(), in3d);
    case GEO_POLYGON: return BoxOfVertices(static_cast<BPolygon const&>(part).GetPoints(), in3d);
    case GEO_DONUT: return BoxOfDonut(static_cast<BDonut const&>(part), in3d);
    default: return part.ComputeMBB();
    }
}

BGeometry::~BGeometry() = default;
BPointGeo::~BPointGeo() = default;
BLinearGeo::~BLinearGeo() = default;
BPolyline::~BPolyline() = default;

EGeometryClass BGeometry::ClassOf(EGeometryType type) noexcept {
    for (ClassOfType const& entry : classes) {
        if (entry.type == type) {
            return entry.geometryClass;
        }
    }
    return GEO_CLASS_NONE;
}

BSharedPtr<BGeometry> BPointGeo::Clone() const {
    return BSharedPtr<BGeometry>(new BPointGeo(*this));
}

BBox BPointGeo::ComputeMBB() const {
    return BoxOfPart(*this, is3d);
}

void BPointGeo::Transform(BTransform const& transform, bool reverse) {
    TransformVertex(point, transform, reverse);
}

BSharedPtr<BGeometry> BPolyline::Clone() const {
    return BSharedPtr<BGeometry>(new BPolyline(*this));
}

BBox BPolyline::ComputeMBB() const {
    return BoxOfPart(*this, is3d);
}

void BPolyline::Transform(BTransform const& transform, bool reverse) {
    BPoints moved = points; // A vertex that cannot be moved leaves the line as it was.
    for (BPoint& vertex : moved) {
        TransformVertex(vertex, transform, reverse);
    }
    points = std::move(moved);
}

} // namespace Ambrel
