#pragma once

#include "Ambrel/BFeatureCollection.h"

namespace Ambrel {

/// Features held in memory. Does everything but draw.
class AMBREL_API BMemoryFeatureCollection final : public BFeatureCollection {
public:
    BMemoryFeatureCollection() = default;
    /// A copy shares the features.
    BMemoryFeatureCollection(BMemoryFeatureCollection const&) = default;
    BMemoryFeatureCollection& operator=(BMemoryFeatureCollection const&) = default;

    std::uint64_t ComputeSize() const override;
    BByteArray ToByteArray() override;
    void FromByteArray(BByteArray const& bytes, std::uint64_t& position) override;
    ~BMemoryFeatureCollection() override;

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
    BSharedPtr<BFeature> const& At(char const* operation, std::uint64_t index) const;
    void Recount();
    void TransformAll(BTransform const& transform, bool reverse, BProgress* progress);

    std::vector<BSharedPtr<BFeature>> features;
    /// What each was counted as. Its holders may have given it another geometry since.
    std::vector<EGeometryType> countedTypes;
    mutable BRect mbr; ///< what the last GetFeatureMBRAt returned
};

} // namespace Ambrel
