#include "Ambrel/BMemoryFeatureCollection.h"

#include "cache/FeatureBlock.h"
#include "features/CollectionSupport.h"

#include <utility>

namespace Ambrel {

BMemoryFeatureCollection::~BMemoryFeatureCollection() = default;

std::uint64_t BMemoryFeatureCollection::ComputeSize() const {
    return SizeOfCollection(*this);
}

BByteArray BMemoryFeatureCollection::ToByteArray() {
    BByteArray bytes;
    WriteCollection(*this, bytes);
    return bytes;
}

void BMemoryFeatureCollection::ToByteArray(BByteArray& bytes) const {
    WriteCollection(*this, bytes);
}

void BMemoryFeatureCollection::FromByteArray(BByteArray const& bytes, std::uint64_t& position) {
    CollectionReader reader(bytes, position, "BMemoryFeatureCollection::FromByteArray");
    BMemoryFeatureCollection read;
    while (BSharedPtr<BFeature> const feature = reader.Next()) {
        read.Add(feature);
    }
    features.swap(read.features);
    countedTypes.swap(read.countedTypes);
    std::swap(geometryCounts, read.geometryCounts);
    position = reader.Position();
}

BSharedPtr<BFeature> const& BMemoryFeatureCollection::At(char const* operation,
                                                         std::uint64_t index) const {
    RequireIndexBelow(operation, index, features.size());
    return features[index];
}

void BMemoryFeatureCollection::Recount() {
    geometryCounts = BGeometryCounts();
    for (std::size_t i = 0; i < features.size(); ++i) {
        countedTypes[i] = TypeOf(features[i]->GetGeometry().Get());
        CountGeometry(geometryCounts, countedTypes[i], true);
    }
}

void BMemoryFeatureCollection::Add(BFeatureCollection const& other) {
    std::uint64_t const count = other.GetCount();
    for (std::uint64_t i = 0; i < count; ++i) {
        if (BSharedPtr<BFeature> const feature = other.GetAt(i)) { // else it is left out
            Add(*feature);
        }
    }
}

void BMemoryFeatureCollection::Add(BSharedPtr<BFeature> const& feature) {
    RequireFeature("BMemoryFeatureCollection::Add", feature);
    EGeometryType const type = TypeOf(feature->GetGeometry().Get());
    countedTypes.push_back(type);
    try {
        features.push_back(feature);
    } catch (...) {
        countedTypes.pop_back();
        throw;
    }
    CountGeometry(geometryCounts, type, true);
}

void BMemoryFeatureCollection::Add(BFeature const& feature) {
    Add(feature.Clone());
}

void BMemoryFeatureCollection::Remove(std::uint64_t index) {
    RequireIndexBelow("BMemoryFeatureCollection::Remove", index, features.size());
    auto const place = static_cast<std::ptrdiff_t>(index);
    CountGeometry(geometryCounts, countedTypes[index], false);
    countedTypes.erase(countedTypes.begin() + place);
    features.erase(features.begin() + place);
}

BSharedPtr<BFeature> BMemoryFeatureCollection::Release(std::uint64_t index) {
    BSharedPtr<BFeature> feature = At("BMemoryFeatureCollection::Release", index);
    Remove(index);
    return feature;
}

std::uint64_t BMemoryFeatureCollection::GetCount() const {
    return features.size();
}

BSharedPtr<BFeature> const BMemoryFeatureCollection::GetAt(std::uint64_t index, bool) const {
    return At("BMemoryFeatureCollection::GetAt", index);
}

BSharedPtr<BFeature> BMemoryFeatureCollection::GetAt(std::uint64_t index, bool) {
    return At("BMemoryFeatureCollection::GetAt", index);
}

BSharedPtr<BGeometry> const BMemoryFeatureCollection::GetGeometryAt(std::uint64_t index) const {
    return At("BMemoryFeatureCollection::GetGeometryAt", index)->GetGeometry();
}

BSharedPtr<BGeometry> BMemoryFeatureCollection::GetGeometryAt(std::uint64_t index) {
    return At("BMemoryFeatureCollection::GetGeometryAt", index)->GetGeometry();
}

void BMemoryFeatureCollection::SetAt(std::uint64_t index, BSharedPtr<BFeature> const& feature) {
    RequireIndexBelow("BMemoryFeatureCollection::SetAt", index, features.size());
    RequireFeature("BMemoryFeatureCollection::SetAt", feature);
    CountGeometry(geometryCounts, countedTypes[index], false);
    countedTypes[index] = TypeOf(feature->GetGeometry().Get());
    CountGeometry(geometryCounts, countedTypes[index], true);
    features[index] = feature;
}

void BMemoryFeatureCollection::Clear() {
    features.clear();
    countedTypes.clear();
    geometryCounts = BGeometryCounts();
}

void BMemoryFeatureCollection::Reserve(std::uint64_t count) {
    features.reserve(count);
    countedTypes.reserve(count);
}

void BMemoryFeatureCollection::TransformAll(BTransform const& transform, bool reverse,
                                            BProgress* progress) {
    for (std::uint64_t i = 0; i < features.size(); ++i) {
        BSharedPtr<BFeature> const feature = features[i]; // which may be removed meanwhile
        BSharedPtr<BGeometry> const geometry = feature->GetGeometry();
        if (geometry) {
            geometry->Transform(transform, reverse);
        }
        if (!TellProgress(progress, i + 1, features.size())) {
            return;
        }
    }
}

void BMemoryFeatureCollection::Transform(BTransform const& transform, BProgress& progress) {
    TransformAll(transform, false, &progress);
}

void BMemoryFeatureCollection::Transform(BTransform const& transform) {
    TransformAll(transform, false, nullptr);
}

void BMemoryFeatureCollection::TransformReverse(BTransform const& transform, BProgress& progress) {
    TransformAll(transform, true, &progress);
}

void BMemoryFeatureCollection::TransformReverse(BTransform const& transform) {
    TransformAll(transform, true, nullptr);
}

void BMemoryFeatureCollection::Sort(std::uint64_t attributeIndex, bool ascending) {
    std::vector<std::pair<SortKey, BSharedPtr<BFeature>>> keyed;
    keyed.reserve(features.size());
    for (BSharedPtr<BFeature> const& feature : features) {
        keyed.emplace_back(SortKey(*feature, attributeIndex), feature);
    }
    std::stable_sort(keyed.begin(), keyed.end(), [ascending](auto const& a, auto const& b) {
        return ascending ? a.first < b.first : b.first < a.first;
    });
    for (std::size_t i = 0; i < keyed.size(); ++i) {
        features[i].Swap(keyed[i].second);
    }
    Recount();
}

BRect const& BMemoryFeatureCollection::GetFeatureMBRAt(std::uint64_t index) const {
    mbr = At("BMemoryFeatureCollection::GetFeatureMBRAt", index)->ComputeMBR();
    return mbr;
}

bool BMemoryFeatureCollection::CanSelect() const {
    return true;
}

void BMemoryFeatureCollection::SelectFeatures(BRect const& area, BParamList const&,
                                              std::vector<std::uint64_t>& result) const {
    for (std::uint64_t i = 0; i < features.size(); ++i) {
        if (features[i]->ComputeMBR().Meets(area)) {
            result.push_back(i);
        }
    }
}

bool BMemoryFeatureCollection::HasFeaturesInArea(BRect const& area, BParamList const&) const {
    return std::any_of(features.begin(), features.end(), [&](BSharedPtr<BFeature> const& feature) {
        return feature->ComputeMBR().Meets(area);
    });
}

BBox BMemoryFeatureCollection::ComputeMBB() {
    BBox box;
    for (BSharedPtr<BFeature> const& feature : features) {
        if (feature->GetGeometry()) {
            box.Union(feature->GetGeometry()->ComputeMBB());
        }
    }
    return box;
}

} // namespace Ambrel
