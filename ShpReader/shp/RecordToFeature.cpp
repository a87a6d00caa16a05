// From the bytes of a record to a completed feature.

#include "ShpReader/shp/BShpFile.h"

#include "Ambrel/BAggregate.h"
#include "Ambrel/BException.h"
#include "Ambrel/BLogger.h"
#include "Ambrel/Constants.h"
#include "ShpReader/shp/MetadataKeys.h"
#include "ShpReader/shp/RecordFaults.h"

namespace Ambrel {

namespace {

constexpr char const* readOperation = "BShpFile::Read";

BPoints WithZ(BPoints points, double z) {
    for (BPoint& point : points) {
        point.Z = z;
    }
    return points;
}

void SetMemberZ(BAggregatePoint& members, double z) {
    for (std::uint64_t i = 0; i < members.GetCount(); ++i) {
        BSharedPtr<BPointGeo> const& member = members.GetGeometryAt(i);
        member->SetZ(z);
        member->is3d = 1;
    }
}

/// Multi-part geometries keep their Z.
void SetZ(BGeometry& geometry, double z) {
    switch (geometry.type) {
    case GEO_POINT: static_cast<BPointGeo&>(geometry).SetZ(z); break;
    case GEO_POLYGON: {
        auto& polygon = static_cast<BPolygon&>(geometry);
        polygon.SetPoints(WithZ(polygon.GetPoints(), z));
        break;
    }
    case GEO_POLYLINE: {
        auto& polyline = static_cast<BPolyline&>(geometry);
        polyline.SetPoints(WithZ(polyline.GetPoints(), z));
        break;
    }
    case GEO_AGGREGATE_POINT: SetMemberZ(static_cast<BAggregatePoint&>(geometry), z); break;
    default: return;
    }
    geometry.is3d = 1;
}

/// Why the parts of a record can not be decoded. The start of a single part is not looked at: it
/// has all vertices.
RecordFault FindFault(VertexRecord const& record) noexcept {
    if (record.Fault() != RecordFault::None || record.PartCount() == 1) {
        return record.Fault();
    }
    return record.CheckPartStarts();
}

} // namespace

void ReportInvalidRecord(std::uint32_t index, RecordFault fault) {
    BLogger::Instance()->WriteLine(LOG_WARNING,
                                   "SHP-Reader: Record %u is not valid: %s; geometry skipped.",
                                   index, DescribeFault(fault));
}

BSharedPtr<BFeature> BShpFile::Read(std::uint32_t index, RecordContent content, bool complete,
                                    bool useOwnHandle) {
    BSharedPtr<BFeature> feature = Decode(index, content);
    if (!complete) {
        return feature;
    }
    BKeyValuePairs& metadata = feature->GetMetadata();
    metadata.SetValue(CMN_ORIGINAL_FORMAT, DS_SHP);
    metadata.SetValue(CMN_RECORD_NUMBER, static_cast<int>(index));
    if (useAttributes && !dbfFile) {
        throw BNotOpenException(readOperation, fileName);
    }
    if (useAttributes) {
        dbfFile->ReadAttributeRecord(index, feature->attributes, useOwnHandle);
    }
    if (hasAttributeZName) {
        ApplyAttributeZ(index, *feature);
    }
    return feature;
}

BSharedPtr<BFeature> BShpFile::Decode(std::uint32_t index, RecordContent content) const {
    if (!content.Holds(0, shapeTypeSize)) {
        ReportInvalidRecord(index, content.WhyShort());
        return MakeFeature();
    }
    std::int32_t const code = ReadShapeType(content);
    ShapeType const* const type = FindShapeType(code);
    if (!type) {
        throw BUnknownGeometryException(
            readOperation, BString::Format("Unsupported geometry encountered (%i).", code));
    }
    switch (type->layout) {
    case ShapeLayout::Point: return ReadPoint(index, content);
    case ShapeLayout::MultiPoint: return ReadMultiPoint(index, content);
    case ShapeLayout::Polyline: return ReadPolyline(index, content);
    case ShapeLayout::Polygon: return ReadPolygon(index, content);
    case ShapeLayout::MultiPatch:
        throw BUnknownGeometryException(readOperation, "Multipatch geometry is not supported.");
    case ShapeLayout::Null: break;
    }
    BLogger::Instance()->WriteLine(LOG_DETAIL, "SHP-Reader: Record %i has a NULL shape",
                                   static_cast<int>(index));
    return MakeFeature();
}

/// An empty feature with room for the metadata that a record of this file can bring.
BSharedPtr<BFeature> BShpFile::MakeFeature() const {
    BSharedPtr<BFeature> feature(new BFeature);
    constexpr std::size_t completion = 2;
    feature->GetMetadata().Reserve((hasZ ? 2U : 0U) + (hasMeasures ? 3U : 0U) + completion);
    return feature;
}

BSharedPtr<BFeature> BShpFile::MakeFeatureOf(std::uint32_t index, VertexRecord const& record,
                                             MakeGeometry makeGeometry) const {
    BSharedPtr<BFeature> feature = MakeFeature();
    if (RecordFault const fault = FindFault(record); fault != RecordFault::None) {
        ReportInvalidRecord(index, fault);
        return feature;
    }
    ReportMissingBlocks(index, !hasZ || record.HasZ(), !hasMeasures || record.HasMeasures());
    BSharedPtr<BGeometry> geometry = makeGeometry(index, record, hasZ);
    AddPartMetadata(record, feature->GetMetadata());
    geometry->is3d = hasZ;
    feature->SetGeometry(std::move(geometry));
    return feature;
}

void BShpFile::ReportMissingBlocks(std::uint32_t index, bool zIsThere,
                                   bool measuresAreThere) const {
    if (!zIsThere) {
        BLogger::Instance()->WriteLine(LOG_WARNING, "SHP-Reader: Record %u has no Z values.",
                                       index);
    }
    if (!measuresAreThere) {
        BLogger::Instance()->WriteLine(LOG_DETAIL, "SHP-Reader: Record %u has no measures.", index);
    }
}

void BShpFile::AddPartMetadata(VertexRecord const& record, BKeyValuePairs& metadata) const {
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

/// A null value, or a feature without geometry, is left as it is.
void BShpFile::ApplyAttributeZ(std::uint32_t index, BFeature& feature) const {
    BAttribute const& attribute = feature.attributes.GetAttribute(attributeZName, true);
    BSharedPtr<BGeometry> const& geometry = feature.GetGeometry();
    if (attribute.IsNull() || !geometry) {
        return;
    }
    double z = 0.0;
    try {
        z = attribute.GetValue().GetValueAsDouble();
    } catch (BAttributeDataException const&) {
        BLogger::Instance()->WriteLine(
            LOG_WARNING, "SHP-Reader: Record %u: the value of %s is not a number; Z unchanged.",
            index, attributeZName.Ascii());
        return;
    }
    SetZ(*geometry, z);
}

} // namespace Ambrel
