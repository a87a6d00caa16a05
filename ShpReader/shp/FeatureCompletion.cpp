// From the bytes of a record to a completed feature.

#include "ShpReader/shp/BShpFile.h"

#include "Ambrel/BAggregate.h"
#include "Ambrel/BException.h"
#include "Ambrel/Constants.h"
#include "ShpReader/Report.h"
#include "ShpReader/shp/RecordDecoder.h"

namespace Ambrel {

namespace {

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
    case GEO_NONE:
    case GEO_DONUT:
    case GEO_AGGREGATE_LINEAR:
    case GEO_AGGREGATE_AREA: return;
    }
    geometry.is3d = 1;
}

/// Reports what is found in a record, also where decoding it ends with an exception.
class FindingReport {
public:
    FindingReport(BString const& newFile, std::uint32_t newRecord) noexcept
        : file(newFile), record(newRecord) {}
    FindingReport(FindingReport const&) = delete;
    FindingReport& operator=(FindingReport const&) = delete;
    ~FindingReport() {
        for (RecordFinding const& finding : findings) {
            if (finding.code == FindingCode::EmptyPart) {
                Report(finding.code, file, record, {std::int64_t{finding.part}});
            } else {
                Report(finding.code, file, record);
            }
        }
    }

    RecordFindings findings;

private:
    BString const& file;
    std::uint32_t record;
};

} // namespace

BSharedPtr<BFeature> BShpFile::Read(std::uint32_t index, RecordContent content, bool complete,
                                    bool useOwnHandle) {
    BSharedPtr<BFeature> feature = Decode(index, content);
    if (complete) {
        Complete(index, *feature, useOwnHandle);
    }
    return feature;
}

BSharedPtr<BFeature> BShpFile::Decode(std::uint32_t index, RecordContent content) const {
    FindingReport report(fileName, index);
    return RecordDecoder(hasZ, readsMeasures).Decode(content, report.findings);
}

void BShpFile::Complete(std::uint32_t index, BFeature& feature, bool useOwnHandle) {
    BKeyValuePairs& metadata = feature.GetMetadata();
    metadata.SetValue(CMN_ORIGINAL_FORMAT, DS_SHP);
    metadata.SetValue(CMN_RECORD_NUMBER, static_cast<int>(index));
    if (useAttributes && !dbfFile) {
        throw BNotOpenException("BShpFile::Read", fileName);
    }
    if (useAttributes) {
        dbfFile->ReadAttributeRecord(index, feature.attributes, useOwnHandle);
    }
    if (hasAttributeZName) {
        ApplyAttributeZ(index, feature);
    }
}

/// A null value, or a feature without geometry, is left as it is.
void BShpFile::ApplyAttributeZ(std::uint32_t index, BFeature& feature) const {
    BAttribute const& attribute = feature.attributes.GetAttribute(attributeZName, true);
    BSharedPtr<BGeometry> const& geometry = feature.GetGeometry();
    if (attribute.IsNull() || !geometry) {
        return;
    }
    try {
        SetZ(*geometry, attribute.GetValue().GetValueAsDouble());
    } catch (BAttributeDataException const&) {
        Report(FindingCode::AttributeZNotANumber, fileName, index,
               {std::string(attributeZName.Utf8())});
    }
}

} // namespace Ambrel
