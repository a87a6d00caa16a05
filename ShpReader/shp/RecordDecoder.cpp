#include "ShpReader/shp/RecordDecoder.h"

#include "Ambrel/BException.h"
#include "ShpReader/shp/GeometryDecoding.h"
#include "ShpReader/shp/MetadataKeys.h"

#include <vector>

namespace Ambrel {

namespace {

constexpr char const* readOperation = "BShpFile::Read";

void AddMissingBlocks(bool zIsThere, bool measuresAreThere, RecordFindings& findings) {
    if (!zIsThere) {
        findings.Add(FindingCode::NoZValues);
    }
    if (!measuresAreThere) {
        findings.Add(FindingCode::NoMeasures);
    }
}

/// Adds the Z and measure entries of a record of several vertices.
void AddPartMetadata(VertexRecord const& record, BKeyValuePairs& metadata) {
    if (record.HasZ()) {
        auto const [least, most] = record.ZRange();
        metadata.Add(MetadataKeys::minZ, least);
        metadata.Add(MetadataKeys::maxZ, most);
    }
    if (record.HasMeasures()) {
        auto const [least, most] = record.MeasureRange();
        metadata.Add(MetadataKeys::minMeasure, least);
        metadata.Add(MetadataKeys::maxMeasure, most);
        std::vector<double> measures(record.PointCount());
        for (std::size_t i = 0; i < measures.size(); ++i) {
            measures[i] = record.Measure(i);
        }
        metadata.Add(MetadataKeys::measures, BVariant(std::move(measures)));
    }
}

} // namespace

BSharedPtr<BFeature> RecordDecoder::Decode(RecordContent content, RecordFindings& findings) const {
    if (!content.Holds(0, shapeTypeSize)) {
        findings.Add(FindingOf(content.WhyShort()));
        return MakeFeature();
    }
    std::int32_t const code = ReadShapeType(content);
    ShapeType const* const type = FindShapeType(code);
    if (!type) {
        throw BUnknownGeometryException(
            readOperation, BString::Format("Unsupported geometry encountered (%i).", code));
    }
    switch (type->layout) {
    case ShapeLayout::Point: return ReadPoint(content, findings);
    case ShapeLayout::MultiPoint:
    case ShapeLayout::Polyline:
    case ShapeLayout::Polygon: return ReadVertices(type->layout, content, findings);
    case ShapeLayout::MultiPatch:
        throw BUnknownGeometryException(readOperation, "Multipatch geometry is not supported.");
    case ShapeLayout::Null: break;
    }
    findings.Add(FindingCode::NullShape);
    return MakeFeature();
}

/// An empty feature with room for the metadata that a record of this file can bring.
BSharedPtr<BFeature> RecordDecoder::MakeFeature() const {
    BSharedPtr<BFeature> feature(new BFeature);
    constexpr std::size_t completion = 2;
    feature->GetMetadata().Reserve((hasZ ? 2U : 0U) + (hasMeasures ? 3U : 0U) + completion);
    return feature;
}

BSharedPtr<BFeature> RecordDecoder::ReadPoint(RecordContent content,
                                              RecordFindings& findings) const {
    BSharedPtr<BFeature> feature = MakeFeature();
    PointRecord const record = PointRecord::Decode(content, hasZ, hasMeasures);
    if (record.fault != RecordFault::None) {
        findings.Add(FindingOf(record.fault));
        return feature;
    }
    bool const expectsMeasure = hasZ || hasMeasures;
    AddMissingBlocks(!hasZ || record.z, !expectsMeasure || record.measure, findings);
    // Before the position is looked at: a feature whose geometry is skipped keeps its measure.
    if (record.measure) {
        feature->GetMetadata().Add(MetadataKeys::measures, BVariant(&*record.measure, 1));
    }
    BPoint const point(record.x, record.y, record.z.value_or(BPoint().Z));
    if (BSharedPtr<BGeometry> const geometry = MakePoint(point, hasZ, findings)) {
        feature->SetGeometry(geometry);
    }
    return feature;
}

BSharedPtr<BFeature> RecordDecoder::ReadVertices(ShapeLayout layout, RecordContent content,
                                                 RecordFindings& findings) const {
    BSharedPtr<BFeature> feature = MakeFeature();
    VertexRecord const record = layout == ShapeLayout::MultiPoint
                                    ? VertexRecord::OfMultiPoint(content, hasZ, hasMeasures)
                                    : VertexRecord::OfParts(content, hasZ, hasMeasures);
    if (record.Fault() != RecordFault::None) {
        findings.Add(FindingOf(record.Fault()));
        return feature;
    }
    AddMissingBlocks(!hasZ || record.HasZ(), !hasMeasures || record.HasMeasures(), findings);
    BSharedPtr<BGeometry> geometry =
        layout == ShapeLayout::MultiPoint ? MakeMultiPoint(record, hasZ)
        : layout == ShapeLayout::Polyline ? MakePolyline(record, hasZ)
                                          : MakePolygon(record, hasZ, findings);
    AddPartMetadata(record, feature->GetMetadata());
    geometry->is3d = hasZ;
    feature->SetGeometry(geometry);
    return feature;
}

} // namespace Ambrel
