#pragma once

#include "Ambrel/BAttribute.h"
#include "Ambrel/BCoordSys.h"
#include "Ambrel/BFeatureCollection.h"

#include <memory>
#include <vector>

namespace Ambrel {

/// A named part of a map.
class AMBREL_API BLayer : public BMetadataContainer {
public:
    BString name;

    BLayer() = default;
    BLayer(BLayer const&) = delete;
    BLayer& operator=(BLayer const&) = delete;
    ~BLayer() override;

    virtual void SetCoordSys(BSharedPtr<BCoordSys> const& system);
    /// The coordinate system; an empty holder when it is not known.
    BSharedPtr<BCoordSys> const& GetCoordSys() const noexcept { return coordSys; }

private:
    BSharedPtr<BCoordSys> coordSys;
};

/// A layer of features.
class AMBREL_API BVectorLayer final : public BLayer {
public:
    /// Features in memory.
    BVectorLayer();
    /// Features in the disk cache; see BDiskCacheFeatureCollection for the arguments.
    BVectorLayer(BString const& cacheBaseName, int pageSize);
    ~BVectorLayer() override;

    void Set3d(bool hasZ) noexcept { is3d = hasZ; }
    bool Is3d() const noexcept { return is3d; }
    void SetSchema(BAttributeDefs const& definitions) { schema = definitions; }
    BAttributeDefs const& GetSchema() const noexcept { return schema; }
    void SetSingleGeometryClass(EGeometryClass single) noexcept { geometryClass = single; }
    EGeometryClass GetSingleGeometryClass() const noexcept { return geometryClass; }

    /// Replaces the features. The layer owns the collection from now on.
    void SetFeaturesPtr(BFeatureCollection* collection) noexcept {
        if (collection != features.get()) {
            features.reset(collection);
        }
    }
    BFeatureCollection& GetFeatures() noexcept { return *features; }
    BFeatureCollection const& GetFeatures() const noexcept { return *features; }

private:
    std::unique_ptr<BFeatureCollection> features;
    BAttributeDefs schema;
    EGeometryClass geometryClass = GEO_CLASS_NONE;
    bool is3d = false;
};

/// A list of shared layers.
class AMBREL_API BLayers final {
public:
    void Reserve(std::uint64_t count) { layers.reserve(count); }
    void Add(BSharedPtr<BLayer> const& layer) { layers.push_back(layer); }
    std::uint64_t GetCount() const noexcept { return layers.size(); }
    /// REQUIRES: index < GetCount().
    BSharedPtr<BLayer> GetAt(std::uint64_t index) const { return layers[index]; }
    void Clear() noexcept { layers.clear(); }

private:
    std::vector<BSharedPtr<BLayer>> layers;
};

} // namespace Ambrel
