#pragma once

#include "Ambrel/BFeatureCollection.h"

namespace Ambrel {

/// Base of collections that hold no features and answer from their source when they are asked.
/// It bounds every index by GetCount() and hands the question to the ...Impl operations. What would
/// change the features throws BUnsupportedCapabilityException.
/// The order of the virtual functions is part of the interface.
class AMBREL_API BDirectAccessFeatureCollection : public BFeatureCollection {
public:
    BDirectAccessFeatureCollection() = default;
    BDirectAccessFeatureCollection(BDirectAccessFeatureCollection const&) = default;
    BDirectAccessFeatureCollection& operator=(BDirectAccessFeatureCollection const&) = default;

    std::uint64_t ComputeSize() const override;
    BByteArray ToByteArray() override;
    ~BDirectAccessFeatureCollection() override;

    BSharedPtr<BFeature> const GetAt(std::uint64_t index, bool complete = true) const override;
    BSharedPtr<BFeature> GetAt(std::uint64_t index, bool complete = true) override;
    BSharedPtr<BGeometry> const GetGeometryAt(std::uint64_t index) const override;
    BSharedPtr<BGeometry> GetGeometryAt(std::uint64_t index) override;
    void RenderFeatures(BRenderingParams const* params) const override;
    void SelectFeatures(BRect const& area, BParamList const& params,
                        std::vector<std::uint64_t>& result) const override;
    bool HasFeaturesInArea(BRect const& area, BParamList const& params) const override;
    void ToByteArray(BByteArray& bytes) const override;
    BBox ComputeMBB() override;

    using BFeatureCollection::RenderFeatures;

protected:
    virtual BSharedPtr<BFeature> const GetAtImpl(std::uint64_t index, bool complete) const = 0;
    virtual void SelectFeaturesImpl(BRect const& area, BParamList const& params,
                                    std::vector<std::uint64_t>& result) const = 0;
    virtual bool HasFeaturesInAreaImpl(BRect const& area, BParamList const& params) const = 0;
    virtual BBox ComputeMBBImpl() const = 0;

private:
    void RequireIndex(char const* operation, std::uint64_t index) const;
};

} // namespace Ambrel
