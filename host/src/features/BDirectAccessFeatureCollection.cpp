#include "Ambrel/BDirectAccessFeatureCollection.h"

#include "cache/FeatureBlock.h"
#include "features/CollectionSupport.h"

namespace Ambrel {

BDirectAccessFeatureCollection::~BDirectAccessFeatureCollection() = default;

std::uint64_t BDirectAccessFeatureCollection::ComputeSize() const {
    return SizeOfCollection(*this);
}

BByteArray BDirectAccessFeatureCollection::ToByteArray() {
    BByteArray bytes;
    WriteCollection(*this, bytes);
    return bytes;
}

void BDirectAccessFeatureCollection::ToByteArray(BByteArray& bytes) const {
    WriteCollection(*this, bytes);
}

void BDirectAccessFeatureCollection::RequireIndex(char const* operation,
                                                  std::uint64_t index) const {
    RequireIndexBelow(operation, index, GetCount());
}

BSharedPtr<BFeature> const BDirectAccessFeatureCollection::GetAt(std::uint64_t index,
                                                                 bool complete) const {
    RequireIndex("BDirectAccessFeatureCollection::GetAt", index);
    return GetAtImpl(index, complete);
}

BSharedPtr<BFeature> BDirectAccessFeatureCollection::GetAt(std::uint64_t index, bool complete) {
    RequireIndex("BDirectAccessFeatureCollection::GetAt", index);
    return GetAtImpl(index, complete);
}

BSharedPtr<BGeometry> const
BDirectAccessFeatureCollection::GetGeometryAt(std::uint64_t index) const {
    RequireIndex("BDirectAccessFeatureCollection::GetGeometryAt", index);
    BSharedPtr<BFeature> const feature = GetAtImpl(index, false);
    return feature ? feature->GetGeometry() : BSharedPtr<BGeometry>();
}

BSharedPtr<BGeometry> BDirectAccessFeatureCollection::GetGeometryAt(std::uint64_t index) {
    return static_cast<BDirectAccessFeatureCollection const*>(this)->GetGeometryAt(index);
}

void BDirectAccessFeatureCollection::RenderFeatures(BRenderingParams const* params) const {
    BFeatureCollection::RenderFeatures(params);
}

void BDirectAccessFeatureCollection::SelectFeatures(BRect const& area, BParamList const& params,
                                                    std::vector<std::uint64_t>& result) const {
    SelectFeaturesImpl(area, params, result);
}

bool BDirectAccessFeatureCollection::HasFeaturesInArea(BRect const& area,
                                                       BParamList const& params) const {
    return HasFeaturesInAreaImpl(area, params);
}

BBox BDirectAccessFeatureCollection::ComputeMBB() {
    return ComputeMBBImpl();
}

} // namespace Ambrel
