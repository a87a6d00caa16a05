#pragma once

#include "Ambrel/BAttribute.h"
#include "Ambrel/BGeometry.h"
#include "Ambrel/BKeyValuePairs.h"

#include <vector>

namespace Ambrel {

/// A geometry, which may be absent, with attribute values and metadata.
/// The order of the virtual functions is part of the interface.
class AMBREL_API BFeature : public BMetadataContainer, public detail::SmallObject {
public:
    BAttributes attributes;

    BFeature() noexcept = default;
    /// Shares the geometry; see Clone.
    BFeature(BFeature const&) = default;
    BFeature& operator=(BFeature const&) = default;
    ~BFeature() override;

    virtual void SetGeometry(BSharedPtr<BGeometry> const& shape);
    /// The geometry; an empty holder when there is none.
    virtual BSharedPtr<BGeometry> const& GetGeometry() const;

    /// A copy with a geometry of its own.
    BSharedPtr<BFeature> Clone() const;
    /// The rectangle of the geometry; empty when there is none.
    BRect ComputeMBR() const;

private:
    BSharedPtr<BGeometry> geometry;
};

/// A list of shared features.
/// The order of the virtual functions is part of the interface.
class AMBREL_API BFeatures {
public:
    BFeatures() noexcept = default;
    BFeatures(BFeatures const&) = default;
    BFeatures& operator=(BFeatures const&) = default;

    virtual void Add(BSharedPtr<BFeature> const& feature);
    virtual std::uint64_t GetCount() const;
    /// REQUIRES: index < GetCount().
    virtual BSharedPtr<BFeature> const& GetAt(std::uint64_t index) const;
    virtual void Clear();
    virtual void Reserve(std::uint64_t count);
    virtual ~BFeatures();

private:
    std::vector<BSharedPtr<BFeature>> features;
};

} // namespace Ambrel
