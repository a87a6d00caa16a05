#include "Ambrel/BLayer.h"

#include "Ambrel/BDiskCacheFeatureCollection.h"
#include "Ambrel/BMemoryFeatureCollection.h"

namespace Ambrel {

BLayer::~BLayer() = default;

void BLayer::SetCoordSys(BSharedPtr<BCoordSys> const& system) {
    coordSys = system;
}

BVectorLayer::BVectorLayer() : features(std::make_unique<BMemoryFeatureCollection>()) {}

BVectorLayer::BVectorLayer(BString const& cacheBaseName, int pageSize)
    : features(std::make_unique<BDiskCacheFeatureCollection>(cacheBaseName, pageSize)) {}

BVectorLayer::~BVectorLayer() = default;

} // namespace Ambrel
