#include "ShpReader/shp/GeometryKinds.h"

#include "ShpReader/format/ShpFormat.h"

namespace Ambrel {

EGeometryClass GeometryClassOfShapeType(std::uint32_t shapeType) noexcept {
    ShapeType const* const type = FindShapeType(static_cast<std::int32_t>(shapeType));
    if (!type) {
        return GEO_CLASS_NONE;
    }
    switch (type->layout) {
    case ShapeLayout::Point: return GEO_CLASS_POINTS;
    case ShapeLayout::Polyline: return GEO_CLASS_LINES;
    case ShapeLayout::Polygon: return GEO_CLASS_AREAS;
    case ShapeLayout::MultiPoint: return GEO_CLASS_MULTIPOINTS;
    case ShapeLayout::Null:
    case ShapeLayout::MultiPatch: break;
    }
    return GEO_CLASS_NONE;
}

EGeometryType GeometryTypeOfClass(EGeometryClass geometryClass) noexcept {
    switch (geometryClass) {
    case GEO_CLASS_POINTS: return GEO_POINT;
    case GEO_CLASS_LINES: return GEO_POLYLINE;
    case GEO_CLASS_AREAS: return GEO_POLYGON;
    case GEO_CLASS_MULTIPOINTS: return GEO_AGGREGATE_POINT;
    case GEO_CLASS_NONE: break;
    }
    return GEO_NONE;
}

} // namespace Ambrel
