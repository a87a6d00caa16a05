#include "Ambrel/BFeature.h"

namespace Ambrel {

BFeature::~BFeature() = default;

void BFeature::SetGeometry(BSharedPtr<BGeometry> const& shape) {
    geometry = shape;
}

BSharedPtr<BGeometry> const& BFeature::GetGeometry() const {
    return geometry;
}

BSharedPtr<BFeature> BFeature::Clone() const {
    BSharedPtr<BFeature> copy(new BFeature(*this));
    if (BSharedPtr<BGeometry> const& own = GetGeometry()) {
        copy->SetGeometry(own->Clone());
    }
    return copy;
}

BRect BFeature::ComputeMBR() const {
    BSharedPtr<BGeometry> const& own = GetGeometry();
    return own ? BRect(own->ComputeMBB()) : BRect();
}

BFeatures::~BFeatures() = default;

void BFeatures::Add(BSharedPtr<BFeature> const& feature) {
    features.push_back(feature);
}

std::uint64_t BFeatures::GetCount() const {
    return features.size();
}

BSharedPtr<BFeature> const& BFeatures::GetAt(std::uint64_t index) const {
    return features[index];
}

void BFeatures::Clear() {
    features.clear();
}

void BFeatures::Reserve(std::uint64_t count) {
    features.reserve(count);
}

} // namespace Ambrel
