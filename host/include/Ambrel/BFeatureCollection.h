#pragma once

#include "Ambrel/BByteStreamable.h"
#include "Ambrel/BFeature.h"

#include <array>
#include <map>
#include <vector>

namespace Ambrel {

class BParamList;
class BProgress;
class BRenderer;
struct BRenderingParams;
class BTransform;

/// How many geometries of each class and type a collection holds.
class AMBREL_API BGeometryCounts final {
public:
    void SetGeometryClassCounts(EGeometryClass geometryClass, std::uint64_t count) {
        classCounts[geometryClass] = count;
    }
    void SetGeometryTypeCounts(EGeometryType type, std::uint64_t count) {
        typeCounts[type] = count;
    }
    std::uint64_t GetGeometryClassCount(EGeometryClass geometryClass) const;
    std::uint64_t GetGeometryTypeCount(EGeometryType type) const;

private:
    std::map<EGeometryClass, std::uint64_t> classCounts;
    std::map<EGeometryType, std::uint64_t> typeCounts;
};

/// The features of a layer.
///
/// This base can do nothing: every operation that a kind of collection does not override throws
/// BUnsupportedCapabilityException with the operation's name. An index that is not below GetCount()
/// gives BIndexOutOfBoundsException ("Index=%llu, Count=%llu") from every collection of the host.
/// The order of the virtual functions is part of the interface.
class AMBREL_API BFeatureCollection : public BByteStreamable {
public:
    BFeatureCollection() = default;
    BFeatureCollection(BFeatureCollection const&) = default;
    BFeatureCollection& operator=(BFeatureCollection const&) = default;

    std::uint64_t ComputeSize() const override;
    BByteArray ToByteArray() override;
    void FromByteArray(BByteArray const& bytes, std::uint64_t& position) override;
    ~BFeatureCollection() override;

    /// Adds copies of all features of `other`.
    virtual void Add(BFeatureCollection const& other);
    /// Adds the feature itself.
    virtual void Add(BSharedPtr<BFeature> const& feature);
    /// Adds a copy of the feature.
    virtual void Add(BFeature const& feature);
    virtual void Remove(std::uint64_t index);
    /// Removes the feature and hands it over.
    virtual BSharedPtr<BFeature> Release(std::uint64_t index);
    virtual std::uint64_t GetCount() const = 0;
    /// The feature at `index`. With `complete` false, a collection that has to fetch it may leave
    /// the attributes and the format's metadata out.
    virtual BSharedPtr<BFeature> const GetAt(std::uint64_t index, bool complete = true) const;
    virtual BSharedPtr<BFeature> GetAt(std::uint64_t index, bool complete = true);
    /// The geometry of the feature at `index`; an empty holder when it has none.
    virtual BSharedPtr<BGeometry> const GetGeometryAt(std::uint64_t index) const;
    virtual BSharedPtr<BGeometry> GetGeometryAt(std::uint64_t index);
    virtual void SetAt(std::uint64_t index, BSharedPtr<BFeature> const& feature);
    virtual void Clear();
    /// Makes room for `count` features in all. A hint: more may be added.
    virtual void Reserve(std::uint64_t count);
    /// Moves every geometry through the transformation; the observer may end it between two
    /// features, and those before it stay moved. What the transformation throws goes through: the
    /// parts of the feature's geometry before that at which it threw are moved then.
    virtual void Transform(BTransform const& transform, BProgress& progress);
    virtual void Transform(BTransform const& transform);
    virtual void TransformReverse(BTransform const& transform, BProgress& progress);
    virtual void TransformReverse(BTransform const& transform);
    /// Sorts by the value of the attribute at `attributeIndex`: numbers by value, text byte by
    /// byte, null and absent ones first. Equal ones keep their order.
    virtual void Sort(std::uint64_t attributeIndex, bool ascending);
    /// The rectangle of a feature's geometry, empty when it has none. The reference is valid while
    /// the collection lives; the next call changes what it refers to.
    virtual BRect const& GetFeatureMBRAt(std::uint64_t index) const;
    /// Whether RenderFeatures works.
    virtual bool CanRender() const;
    virtual void RenderFeatures(std::vector<std::uint64_t> const& indexes,
                                BRenderer const* renderer) const;
    /// Draws the features whose rectangles meet the area of `params`.
    virtual void RenderFeatures(BRenderingParams const* params) const;
    /// Whether the collection can select without building features.
    virtual bool CanSelect() const;
    /// Appends the indexes of the features whose rectangles meet the area, in ascending order.
    virtual void SelectFeatures(BRect const& area, BParamList const& params,
                                std::vector<std::uint64_t>& result) const;
    virtual bool HasFeaturesInArea(BRect const& area, BParamList const& params) const;
    /// Appends what ToByteArray() gives.
    virtual void ToByteArray(BByteArray& bytes) const;
    /// The box of all features.
    virtual BBox ComputeMBB();

    BGeometryCounts const& GetGeometryCounts() const noexcept { return geometryCounts; }

protected:
    BGeometryCounts geometryCounts;
};

} // namespace Ambrel
