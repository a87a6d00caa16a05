#pragma once

#include "Ambrel/BFeatureCollection.h"

#include <memory>

namespace Ambrel {

class FeatureStore;

/// Features held in an embedded store on disk, page by page, so that memory stays bounded whatever
/// their number. The store's files are made by the first feature that is added, and vanish with the
/// collection.
///
/// GetAt gives a copy: a change reaches the collection through SetAt. Pages that were used last are
/// kept in memory, so walking through the features in order reads each page once. A page of large
/// features holds fewer. Does everything that features in memory do; Sort reads the sorting keys of
/// all features into memory.
///
/// A store that cannot be written or read gives a BResourceException that names its file.
class AMBREL_API BDiskCacheFeatureCollection final : public BFeatureCollection {
public:
    /// `baseName`: path and first part of the name of the store's files; the folder must exist.
    /// Empty: in the folder for temporary files, under no name, so that nothing stays however the
    /// process ends. `pageSize`: features in a page;
    /// below 1 stands for the default of 1024.
    BDiskCacheFeatureCollection(BString const& baseName, int pageSize);
    BDiskCacheFeatureCollection(BDiskCacheFeatureCollection const&) = delete;
    BDiskCacheFeatureCollection& operator=(BDiskCacheFeatureCollection const&) = delete;

    std::uint64_t ComputeSize() const override;
    BByteArray ToByteArray() override;
    void FromByteArray(BByteArray const& bytes, std::uint64_t& position) override;
    ~BDiskCacheFeatureCollection() override;

    void Add(BFeatureCollection const& other) override;
    void Add(BSharedPtr<BFeature> const& feature) override;
    void Add(BFeature const& feature) override;
    void Remove(std::uint64_t index) override;
    BSharedPtr<BFeature> Release(std::uint64_t index) override;
    std::uint64_t GetCount() const override;
    BSharedPtr<BFeature> const GetAt(std::uint64_t index, bool complete = true) const override;
    BSharedPtr<BFeature> GetAt(std::uint64_t index, bool complete = true) override;
    BSharedPtr<BGeometry> const GetGeometryAt(std::uint64_t index) const override;
    BSharedPtr<BGeometry> GetGeometryAt(std::uint64_t index) override;
    void SetAt(std::uint64_t index, BSharedPtr<BFeature> const& feature) override;
    void Clear() override;
    void Reserve(std::uint64_t count) override;
    void Transform(BTransform const& transform, BProgress& progress) override;
    void Transform(BTransform const& transform) override;
    void TransformReverse(BTransform const& transform, BProgress& progress) override;
    void TransformReverse(BTransform const& transform) override;
    void Sort(std::uint64_t attributeIndex, bool ascending) override;
    BRect const& GetFeatureMBRAt(std::uint64_t index) const override;
    bool CanSelect() const override;
    void SelectFeatures(BRect const& area, BParamList const& params,
                        std::vector<std::uint64_t>& result) const override;
    bool HasFeaturesInArea(BRect const& area, BParamList const& params) const override;
    void ToByteArray(BByteArray& bytes) const override;
    BBox ComputeMBB() override;

private:
    std::unique_ptr<FeatureStore> store;
    mutable BRect mbr; ///< what the last GetFeatureMBRAt returned
};

} // namespace Ambrel
