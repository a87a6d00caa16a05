// Polyline records.

#include "ShpReader/shp/BShpFile.h"

#include "Ambrel/BAggregate.h"
#include "ShpReader/shp/Vertices.h"

namespace Ambrel {

namespace {

template <class Geometry>
BSharedPtr<Geometry> MakePolyline(BPoints&& points) {
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
        BSharedPtr<BLinearGeo> member = MakePolyline<BLinearGeo>(ReadVertices(record, next, size));
        member->is3d = is3d;
        members->Add(std::move(member));
        next += size;
    }
    return geometry;
}

BSharedPtr<BGeometry> MakeLine(std::uint32_t /*index*/, VertexRecord const& record, bool is3d) {
    return record.PartCount() == 1
               ? MakePolyline<BGeometry>(ReadVertices(record, 0, record.PointCount()))
               : ReadPolylineParts(record, is3d);
}

} // namespace

BSharedPtr<BFeature> BShpFile::ReadPolyline(std::uint32_t index, RecordContent content) const {
    return MakeFeatureOf(index, VertexRecord::OfParts(content, hasZ, hasMeasures), MakeLine);
}

} // namespace Ambrel
