#include "Ambrel/BFeatureCollection.h"

#include "Ambrel/BException.h"
#include "Ambrel/BRenderer.h"

namespace Ambrel {

namespace {

[[noreturn]] void Refuse(char const* operation, char const* message) {
    throw BUnsupportedCapabilityException(operation, message);
}

constexpr char const* noBytes = "The features can not be turned into bytes";
constexpr char const* noAdd = "Features can not be added";
constexpr char const* noRemove = "Features can not be removed";
constexpr char const* noGet = "Single features can not be reached";
constexpr char const* noTransform = "The features can not be transformed";
constexpr char const* noRender = "The features can not be drawn";
constexpr char const* noSelect = "The features can not be selected by area";

template <class Map, class Key>
std::uint64_t CountOf(Map const& counts, Key key) {
    auto const found = counts.find(key);
    return found == counts.end() ? 0 : found->second;
}

} // namespace

std::uint64_t BGeometryCounts::GetGeometryClassCount(EGeometryClass geometryClass) const {
    return CountOf(classCounts, geometryClass);
}

std::uint64_t BGeometryCounts::GetGeometryTypeCount(EGeometryType type) const {
    return CountOf(typeCounts, type);
}

std::uint64_t BFeatureCollection::ComputeSize() const {
    Refuse("BFeatureCollection::ComputeSize", noBytes);
}

BByteArray BFeatureCollection::ToByteArray() {
    Refuse("BFeatureCollection::ToByteArray", noBytes);
}

void BFeatureCollection::FromByteArray(BByteArray const&, std::uint64_t&) {
    Refuse("BFeatureCollection::FromByteArray", "The features can not be made from bytes");
}

BFeatureCollection::~BFeatureCollection() = default;

void BFeatureCollection::Add(BFeatureCollection const&) {
    Refuse("BFeatureCollection::Add", noAdd);
}

void BFeatureCollection::Add(BSharedPtr<BFeature> const&) {
    Refuse("BFeatureCollection::Add", noAdd);
}

void BFeatureCollection::Add(BFeature const&) {
    Refuse("BFeatureCollection::Add", noAdd);
}

void BFeatureCollection::Remove(std::uint64_t) {
    Refuse("BFeatureCollection::Remove", noRemove);
}

BSharedPtr<BFeature> BFeatureCollection::Release(std::uint64_t) {
    Refuse("BFeatureCollection::Release", noRemove);
}

BSharedPtr<BFeature> const BFeatureCollection::GetAt(std::uint64_t, bool) const {
    Refuse("BFeatureCollection::GetAt", noGet);
}

BSharedPtr<BFeature> BFeatureCollection::GetAt(std::uint64_t, bool) {
    Refuse("BFeatureCollection::GetAt", noGet);
}

BSharedPtr<BGeometry> const BFeatureCollection::GetGeometryAt(std::uint64_t) const {
    Refuse("BFeatureCollection::GetGeometryAt", noGet);
}

BSharedPtr<BGeometry> BFeatureCollection::GetGeometryAt(std::uint64_t) {
    Refuse("BFeatureCollection::GetGeometryAt", noGet);
}

void BFeatureCollection::SetAt(std::uint64_t, BSharedPtr<BFeature> const&) {
    Refuse("BFeatureCollection::SetAt", "Features can not be replaced");
}

void BFeatureCollection::Clear() {
    Refuse("BFeatureCollection::Clear", noRemove);
}

void BFeatureCollection::Reserve(std::uint64_t) {
    Refuse("BFeatureCollection::Reserve", noAdd);
}

void BFeatureCollection::Transform(BTransform const&, BProgress&) {
    Refuse("BFeatureCollection::Transform", noTransform);
}

void BFeatureCollection::Transform(BTransform const&) {
    Refuse("BFeatureCollection::Transform", noTransform);
}

void BFeatureCollection::TransformReverse(BTransform const&, BProgress&) {
    Refuse("BFeatureCollection::TransformReverse", noTransform);
}

void BFeatureCollection::TransformReverse(BTransform const&) {
    Refuse("BFeatureCollection::TransformReverse", noTransform);
}

void BFeatureCollection::Sort(std::uint64_t, bool) {
    Refuse("BFeatureCollection::Sort", "The features can not be sorted");
}

BRect const& BFeatureCollection::GetFeatureMBRAt(std::uint64_t) const {
    Refuse("BFeatureCollection::GetFeatureMBRAt", noGet);
}

bool BFeatureCollection::CanRender() const {
    return false;
}

void BFeatureCollection::RenderFeatures(std::vector<std::uint64_t> const&, BRenderer const*) const {
    Refuse("BFeatureCollection::RenderFeatures", noRender);
}

void BFeatureCollection::RenderFeatures(BRenderingParams const* params) const {
    if (!CanRender()) {
        Refuse("BFeatureCollection::RenderFeatures", noRender);
    }
    std::vector<std::uint64_t> indexes;
    SelectFeatures(params->area, BParamList(), indexes);
    RenderFeatures(indexes, params->renderer);
}

bool BFeatureCollection::CanSelect() const {
    return false;
}

void BFeatureCollection::SelectFeatures(BRect const&, BParamList const&,
                                        std::vector<std::uint64_t>&) const {
    Refuse("BFeatureCollection::SelectFeatures", noSelect);
}

bool BFeatureCollection::HasFeaturesInArea(BRect const&, BParamList const&) const {
    Refuse("BFeatureCollection::HasFeaturesInArea", noSelect);
}

void BFeatureCollection::ToByteArray(BByteArray&) const {
    Refuse("BFeatureCollection::ToByteArray", noBytes);
}

BBox BFeatureCollection::ComputeMBB() {
    Refuse("BFeatureCollection::ComputeMBB", "The features have no known box");
}

} // namespace Ambrel
