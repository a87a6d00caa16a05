// Polyline records.

#include "ShpReader/shp/GeometryDecoding.h"

#include "ShpReader/shp/Vertices.h"

namespace Ambrel {

namespace {

template <class Geometry>
BSharedPtr<Geometry> MakeLine(BPoints&& points) {
    auto* const polyline = new BPolyline;
    BSharedPtr<Geometry> geometry(polyline);
    polyline->SetPoints(std::move(points));
    return geometry;
}

/// One member for each part, empty parts included. Vertices are taken from index 0 on, whatever the
/// first part's start says: starts only tell how many each part has.
BSharedPtr<BGeometry> ReadPolylineParts(VertexRecord const& record, bool is3d) {
    auto* const members = new BAggregateLinear;
    BSharedPtr<BGeometry> geometry(members);
    members->Reserve(record.PartCount());
    std::size_t next = 0;
    for (std::size_t part = 0; part < record.PartCount(); ++part) {
        std::size_t const size = record.PartSize(part);
        BSharedPtr<BLinearGeo> member = MakeLine<BLinearGeo>(ReadVertices(record, next, size));
        member->is3d = is3d;
        members->Add(std::move(member));
        next += size;
    }
    return geometry;
}

} // namespace

BSharedPtr<BGeometry> MakePolyline(VertexRecord const& record, bool is3d) {
    return record.PartCount() == 1
               ? MakeLine<BGeometry>(ReadVertices(record, 0, record.PointCount()))
               : ReadPolylineParts(record, is3d);
}

} // namespace Ambrel
