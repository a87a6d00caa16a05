#include "ShpReader/BShpFeatureCollection.h"

#include "Ambrel/BLogger.h"
#include "ShpReader/shp/BShpFile.h"
#include "ShpReader/shp/GeometryKinds.h"

namespace Ambrel {

namespace {

/// Fetches of records below this are logged: enough to see that direct access is at work.
constexpr std::uint64_t loggedFetches = 10;

} // namespace

BShpFeatureCollection::BShpFeatureCollection(BSharedPtr<BShpFile>& newFile) : file(newFile) {
    EGeometryClass const geometryClass = GeometryClassOfShapeType(file->GetShapeType());
    if (geometryClass != GEO_CLASS_NONE) {
        geometryCounts.SetGeometryClassCounts(geometryClass, file->GetRecordCount());
        geometryCounts.SetGeometryTypeCounts(GeometryTypeOfClass(geometryClass),
                                             file->GetRecordCount());
    }
}

BShpFeatureCollection::BShpFeatureCollection(BShpFeatureCollection const& other) = default;

BShpFeatureCollection&
BShpFeatureCollection::operator=(BShpFeatureCollection const& other) = default;

BShpFeatureCollection::~BShpFeatureCollection() = default;

std::uint64_t BShpFeatureCollection::GetCount() const {
    return file->GetRecordCount();
}

BSharedPtr<BFeature> const BShpFeatureCollection::GetAtImpl(std::uint64_t index,
                                                            bool complete) const {
    if (index < loggedFetches) {
        BLogger::Instance()->WriteLine(LOG_DETAIL, "SHP-FeatureCollection: In GetAtImpl, index=%u",
                                       static_cast<unsigned>(index));
    }
    return file->ReadFeature(index, complete);
}

BRect const& BShpFeatureCollection::GetFeatureMBRAt(std::uint64_t index) const {
    mbr = file->GetFeatureMBRAt(index);
    return mbr;
}

bool BShpFeatureCollection::CanRender() const {
    return true;
}

bool BShpFeatureCollection::CanSelect() const {
    return true;
}

void BShpFeatureCollection::RenderFeatures(std::vector<std::uint64_t> const& indexes,
                                           BRenderer const* renderer) const {
    BSharedPtr<BShpFile> const held = file; // the renderer may drop the layer
    held->RenderFeatures(indexes, renderer);
}

void BShpFeatureCollection::SelectFeaturesImpl(BRect const& area, BParamList const& params,
                                               std::vector<std::uint64_t>& result) const {
    file->SelectFeatures(area, params, result);
}

bool BShpFeatureCollection::HasFeaturesInAreaImpl(BRect const& area,
                                                  BParamList const& params) const {
    return file->HasFeaturesInArea(area, params);
}

BBox BShpFeatureCollection::ComputeMBBImpl() const {
    return file->GetMBB();
}

} // namespace Ambrel
