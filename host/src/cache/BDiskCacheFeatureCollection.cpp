#include "Ambrel/BDiskCacheFeatureCollection.h"

#include "cache/FeatureStore.h"
#include "features/CollectionSupport.h"

#include <numeric>
#include <utility>

namespace Ambrel {

namespace {

/// The observer and the transformation may change the collection, and so its store too.
void TransformAll(std::unique_ptr<FeatureStore> const& store, BTransform const& transform,
                  bool reverse, BProgress* progress) {
    for (std::uint64_t i = 0; i < store->Count(); ++i) {
        BSharedPtr<BFeature> const feature = store->Read(i);
        if (feature->GetGeometry()) {
            feature->GetGeometry()->Transform(transform, reverse);
            if (i < store->Count()) {
                store->Replace(i, *feature);
            }
        }
        if (!TellProgress(progress, i + 1, store->Count())) {
            return;
        }
    }
}

BRect RectangleOf(FeatureStore& store, std::uint64_t index) {
    BSharedPtr<BGeometry> const geometry = store.ReadGeometry(index);
    return geometry ? BRect(geometry->ComputeMBB()) : BRect();
}

/// The features' indexes in the order of their keys.
std::vector<std::uint64_t> SortedIndexes(FeatureStore& store, std::uint64_t attributeIndex,
                                         bool ascending) {
    std::vector<SortKey> keys;
    keys.reserve(store.Count());
    for (std::uint64_t i = 0; i < store.Count(); ++i) {
        keys.emplace_back(*store.Read(i), attributeIndex);
    }
    std::vector<std::uint64_t> order(keys.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](std::uint64_t a, std::uint64_t b) {
        return ascending ? keys[a] < keys[b] : keys[b] < keys[a];
    });
    return order;
}

/// Features of so many bytes are held at once while they are put into a new order.
constexpr std::size_t reorderSize = 16 * FeatureBlock::fullSize;

/// Adds the features whose indexes are given to `target`, which the walk through `source` meets in
/// ascending order: reading them in the order that is asked for would read a page for each.
void AddInOrder(FeatureStore& source, std::vector<std::uint64_t> const& order, std::size_t first,
                std::size_t last, FeatureStore& target) {
    std::vector<std::size_t> byIndex(last - first);
    std::iota(byIndex.begin(), byIndex.end(), 0);
    std::sort(byIndex.begin(), byIndex.end(),
              [&](std::size_t a, std::size_t b) { return order[first + a] < order[first + b]; });
    std::vector<BSharedPtr<BFeature>> features(last - first);
    for (std::size_t const place : byIndex) {
        features[place] = source.Read(order[first + place]);
    }
    for (BSharedPtr<BFeature> const& feature : features) {
        target.Add(*feature);
    }
}

/// The bytes of every feature in its page.
std::vector<std::size_t> FeatureSizes(FeatureStore& store) {
    std::vector<std::size_t> sizes(store.Count());
    for (std::uint64_t i = 0; i < sizes.size(); ++i) {
        sizes[i] = store.FeatureSize(i);
    }
    return sizes;
}

} // namespace

BDiskCacheFeatureCollection::BDiskCacheFeatureCollection(BString const& baseName, int pageSize)
    : store(std::make_unique<FeatureStore>(baseName, pageSize)) {}

BDiskCacheFeatureCollection::~BDiskCacheFeatureCollection() = default;

std::uint64_t BDiskCacheFeatureCollection::ComputeSize() const {
    return SizeOfCollection(*this);
}

BByteArray BDiskCacheFeatureCollection::ToByteArray() {
    BByteArray bytes;
    WriteCollection(*this, bytes);
    return bytes;
}

void BDiskCacheFeatureCollection::ToByteArray(BByteArray& bytes) const {
    WriteCollection(*this, bytes);
}

void BDiskCacheFeatureCollection::FromByteArray(BByteArray const& bytes, std::uint64_t& position) {
    CollectionReader reader(bytes, position, "BDiskCacheFeatureCollection::FromByteArray");
    std::unique_ptr<FeatureStore> read = store->MakeSibling();
    BGeometryCounts counts;
    while (BSharedPtr<BFeature> const feature = reader.Next()) {
        read->Add(*feature);
        CountGeometry(counts, TypeOf(feature->GetGeometry().Get()), true);
    }
    store = std::move(read);
    geometryCounts = std::move(counts);
    position = reader.Position();
}

void BDiskCacheFeatureCollection::Add(BFeatureCollection const& other) {
    std::uint64_t const count = other.GetCount();
    for (std::uint64_t i = 0; i < count; ++i) {
        if (BSharedPtr<BFeature> const feature = other.GetAt(i)) { // else it is left out
            Add(*feature);
        }
    }
}

void BDiskCacheFeatureCollection::Add(BSharedPtr<BFeature> const& feature) {
    RequireFeature("BDiskCacheFeatureCollection::Add", feature);
    Add(*feature);
}

void BDiskCacheFeatureCollection::Add(BFeature const& feature) {
    store->Add(feature);
    CountGeometry(geometryCounts, TypeOf(feature.GetGeometry().Get()), true);
}

void BDiskCacheFeatureCollection::Remove(std::uint64_t index) {
    RequireIndexBelow("BDiskCacheFeatureCollection::Remove", index, store->Count());
    BSharedPtr<BGeometry> const former = store->ReadGeometry(index);
    store->Remove(index);
    CountGeometry(geometryCounts, TypeOf(former.Get()), false);
}

BSharedPtr<BFeature> BDiskCacheFeatureCollection::Release(std::uint64_t index) {
    RequireIndexBelow("BDiskCacheFeatureCollection::Release", index, store->Count());
    BSharedPtr<BFeature> feature = store->Read(index);
    Remove(index);
    return feature;
}

std::uint64_t BDiskCacheFeatureCollection::GetCount() const {
    return store->Count();
}

BSharedPtr<BFeature> const BDiskCacheFeatureCollection::GetAt(std::uint64_t index, bool) const {
    RequireIndexBelow("BDiskCacheFeatureCollection::GetAt", index, store->Count());
    return store->Read(index);
}

BSharedPtr<BFeature> BDiskCacheFeatureCollection::GetAt(std::uint64_t index, bool) {
    RequireIndexBelow("BDiskCacheFeatureCollection::GetAt", index, store->Count());
    return store->Read(index);
}

BSharedPtr<BGeometry> const BDiskCacheFeatureCollection::GetGeometryAt(std::uint64_t index) const {
    RequireIndexBelow("BDiskCacheFeatureCollection::GetGeometryAt", index, store->Count());
    return store->ReadGeometry(index);
}

BSharedPtr<BGeometry> BDiskCacheFeatureCollection::GetGeometryAt(std::uint64_t index) {
    RequireIndexBelow("BDiskCacheFeatureCollection::GetGeometryAt", index, store->Count());
    return store->ReadGeometry(index);
}

void BDiskCacheFeatureCollection::SetAt(std::uint64_t index, BSharedPtr<BFeature> const& feature) {
    RequireIndexBelow("BDiskCacheFeatureCollection::SetAt", index, store->Count());
    RequireFeature("BDiskCacheFeatureCollection::SetAt", feature);
    BSharedPtr<BGeometry> const former = store->ReadGeometry(index);
    store->Replace(index, *feature);
    CountGeometry(geometryCounts, TypeOf(former.Get()), false);
    CountGeometry(geometryCounts, TypeOf(feature->GetGeometry().Get()), true);
}

void BDiskCacheFeatureCollection::Clear() {
    store->Clear();
    geometryCounts = BGeometryCounts();
}

void BDiskCacheFeatureCollection::Reserve(std::uint64_t) {}

void BDiskCacheFeatureCollection::Transform(BTransform const& transform, BProgress& progress) {
    TransformAll(store, transform, false, &progress);
}

void BDiskCacheFeatureCollection::Transform(BTransform const& transform) {
    TransformAll(store, transform, false, nullptr);
}

void BDiskCacheFeatureCollection::TransformReverse(BTransform const& transform,
                                                   BProgress& progress) {
    TransformAll(store, transform, true, &progress);
}

void BDiskCacheFeatureCollection::TransformReverse(BTransform const& transform) {
    TransformAll(store, transform, true, nullptr);
}

void BDiskCacheFeatureCollection::Sort(std::uint64_t attributeIndex, bool ascending) {
    std::vector<std::uint64_t> const order = SortedIndexes(*store, attributeIndex, ascending);
    std::vector<std::size_t> const sizes = FeatureSizes(*store);
    std::unique_ptr<FeatureStore> sorted = store->MakeSibling();
    for (std::size_t first = 0; first < order.size();) {
        std::size_t last = first;
        for (std::size_t size = 0; last < order.size() && size < reorderSize; ++last) {
            size += sizes[order[last]];
        }
        AddInOrder(*store, order, first, last, *sorted);
        first = last;
    }
    store = std::move(sorted);
}

BRect const& BDiskCacheFeatureCollection::GetFeatureMBRAt(std::uint64_t index) const {
    RequireIndexBelow("BDiskCacheFeatureCollection::GetFeatureMBRAt", index, store->Count());
    mbr = RectangleOf(*store, index);
    return mbr;
}

bool BDiskCacheFeatureCollection::CanSelect() const {
    return true;
}

void BDiskCacheFeatureCollection::SelectFeatures(BRect const& area, BParamList const&,
                                                 std::vector<std::uint64_t>& result) const {
    for (std::uint64_t i = 0; i < store->Count(); ++i) {
        if (RectangleOf(*store, i).Meets(area)) {
            result.push_back(i);
        }
    }
}

bool BDiskCacheFeatureCollection::HasFeaturesInArea(BRect const& area, BParamList const&) const {
    for (std::uint64_t i = 0; i < store->Count(); ++i) {
        if (RectangleOf(*store, i).Meets(area)) {
            return true;
        }
    }
    return false;
}

BBox BDiskCacheFeatureCollection::ComputeMBB() {
    BBox box;
    for (std::uint64_t i = 0; i < store->Count(); ++i) {
        if (BSharedPtr<BGeometry> const geometry = store->ReadGeometry(i)) {
            box.Union(geometry->ComputeMBB());
        }
    }
    return box;
}

} // namespace Ambrel
