// Point and multipoint records.

#include "ShpReader/shp/BShpFile.h"

#include "Ambrel/BAggregate.h"
#include "Ambrel/BLogger.h"
#include "ShpReader/shp/MetadataKeys.h"
#include "ShpReader/shp/RecordFaults.h"
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
BSharedPtr<Geometry> MakePoint(BPoint const& point, bool is3d) {
    BSharedPtr<Geometry> geometry(new BPointGeo(point));
    geometry->is3d = is3d;
    return geometry;
}

BSharedPtr<BGeometry> MakePoints(std::uint32_t /*index*/, VertexRecord const& record, bool is3d) {
    auto* const members = new BAggregatePoint;
    BSharedPtr<BGeometry> geometry(members);
    members->Reserve(record.PointCount());
    for (std::size_t i = 0; i < record.PointCount(); ++i) {
        members->Add(MakePoint<BPointGeo>(ReadVertex(record, i), is3d));
    }
    return geometry;
}

} // namespace

BSharedPtr<BFeature> BShpFile::ReadPoint(std::uint32_t index, RecordContent content) const {
    BSharedPtr<BFeature> feature = MakeFeature();
    PointRecord const record = PointRecord::Decode(content, hasZ, hasMeasures);
    if (record.fault != RecordFault::None) {
        ReportInvalidRecord(index, record.fault);
        return feature;
    }
    bool const expectsMeasure = hasZ || hasMeasures;
    ReportMissingBlocks(index, !hasZ || record.z, !expectsMeasure || record.measure);
    // Before the position is looked at: a feature whose geometry is skipped keeps its measure.
    if (record.measure) {
        feature->GetMetadata().Add(MetadataKeys::measures, BVariant(&*record.measure, 1));
    }
    BPoint const point(record.x, record.y, record.z.value_or(BPoint().Z));
    if (!IsPosition(point)) {
        BLogger::Instance()->WriteLine(
            LOG_DETAIL, "SHP-Reader: Skip geometry; point coordinates are not valid.");
        return feature;
    }
    feature->SetGeometry(MakePoint<BGeometry>(point, hasZ));
    return feature;
}

BSharedPtr<BFeature> BShpFile::ReadMultiPoint(std::uint32_t index, RecordContent content) const {
    return MakeFeatureOf(index, VertexRecord::OfMultiPoint(content, hasZ, hasMeasures), MakePoints);
}

} // namespace Ambrel
