// Point and multipoint records.

#include "ShpReader/shp/GeometryDecoding.h"

#include "ShpReader/shp/Vertices.h"

namespace Ambrel {

namespace {

/// Beyond this, either way, a coordinate is no position. NaN is none either.
constexpr double coordinateLimit = 1e30;

bool IsCoordinate(double value) noexcept {
    return value > -coordinateLimit && value < coordinateLimit;
}

bool IsPosition(BPoint const& point) noexcept {
    return IsCoordinate(point.X) && IsCoordinate(point.Y) && IsCoordinate(point.Z);
}

template <class Geometry>
BSharedPtr<Geometry> MakePointGeo(BPoint const& point, bool is3d) {
    BSharedPtr<Geometry> geometry(new BPointGeo(point));
    geometry->is3d = is3d;
    return geometry;
}

} // namespace

BSharedPtr<BGeometry> MakePoint(BPoint const& point, bool is3d, RecordFindings& findings) {
    if (!IsPosition(point)) {
        findings.Add(FindingCode::InvalidPosition);
        return {};
    }
    return MakePointGeo<BGeometry>(point, is3d);
}

BSharedPtr<BGeometry> MakeMultiPoint(VertexRecord const& record, bool is3d) {
    auto* const members = new BAggregatePoint;
    BSharedPtr<BGeometry> geometry(members);
    members->Reserve(record.PointCount());
    for (std::size_t i = 0; i < record.PointCount(); ++i) {
        members->Add(MakePointGeo<BPointGeo>(ReadVertex(record, i), is3d));
    }
    return geometry;
}

} // namespace Ambrel
