// What plug-ins and hosts are compiled against: the order of virtual functions, and derived
// classes.

#include "FeatureSamples.h"

#include <array>
#include <cstring>

namespace Ambrel::Test {
namespace {

#if defined(__x86_64__) && !defined(_WIN32)

/// The place of a virtual function in its class's table.
template <class Function>
std::size_t SlotOf(Function function) {
    std::array<std::size_t, 2> parts{}; // one more than the offset in bytes, and a shift of `this`
    static_assert(sizeof parts == sizeof function);
    std::memcpy(parts.data(), &function, sizeof parts);
    return (parts[0] - 1) / sizeof(void*);
}

/// The functions' places, which are to follow each other from `first` on.
template <class... Functions>
void ExpectInOrder(char const* type, std::size_t first, Functions... functions) {
    std::size_t expected = first;
    for (std::size_t const slot : {SlotOf(functions)...}) {
        EXPECT_EQ(slot, expected++) << type;
    }
}

struct Reader : BVectorDataReader {
    static void Check() {
        ExpectInOrder("BDataManager", 2, &Reader::Open, &Reader::Close, &Reader::CanQuery,
                      &Reader::QueryInfo, &Reader::IsOpen, &Reader::GetMBR, &Reader::GetMBB,
                      &Reader::UsingDiskCache, &Reader::GetDiskCacheBaseName,
                      &Reader::GetDiskCachePageSize, &Reader::ReportProgress, &Reader::Read,
                      &Reader::OpenImpl, &Reader::CloseImpl, &Reader::ReadImpl,
                      &Reader::ResetStatus);
    }
};

struct Collection : BDirectAccessFeatureCollection {
    using Index = std::uint64_t;
    using Indexes = std::vector<Index>;
    using Feature = BSharedPtr<BFeature>;
    using Geometry = BSharedPtr<BGeometry>;

    // An overloaded function is named by its type.
    template <class Result, class... Arguments>
    using Of = Result (BFeatureCollection::*)(Arguments...);
    template <class Result, class... Arguments>
    using ConstOf = Result (BFeatureCollection::*)(Arguments...) const;

    static void Check() {
        using Base = BFeatureCollection;
        ExpectInOrder("BFeatureCollection", 0, &Base::ComputeSize,
                      Of<BByteArray>(&Base::ToByteArray), &Base::FromByteArray);
        ExpectInOrder("BFeatureCollection", 5, Of<void, Base const&>(&Base::Add),
                      Of<void, Feature const&>(&Base::Add), Of<void, BFeature const&>(&Base::Add),
                      &Base::Remove, &Base::Release, &Base::GetCount,
                      ConstOf<Feature const, Index, bool>(&Base::GetAt),
                      Of<Feature, Index, bool>(&Base::GetAt),
                      ConstOf<Geometry const, Index>(&Base::GetGeometryAt),
                      Of<Geometry, Index>(&Base::GetGeometryAt), &Base::SetAt, &Base::Clear,
                      &Base::Reserve, Of<void, BTransform const&, BProgress&>(&Base::Transform),
                      Of<void, BTransform const&>(&Base::Transform),
                      Of<void, BTransform const&, BProgress&>(&Base::TransformReverse),
                      Of<void, BTransform const&>(&Base::TransformReverse), &Base::Sort,
                      &Base::GetFeatureMBRAt, &Base::CanRender,
                      ConstOf<void, Indexes const&, BRenderer const*>(&Base::RenderFeatures),
                      ConstOf<void, BRenderingParams const*>(&Base::RenderFeatures),
                      &Base::CanSelect, &Base::SelectFeatures, &Base::HasFeaturesInArea,
                      ConstOf<void, BByteArray&>(&Base::ToByteArray), &Collection::ComputeMBB,
                      &Collection::GetAtImpl, &Collection::SelectFeaturesImpl,
                      &Collection::HasFeaturesInAreaImpl, &Collection::ComputeMBBImpl);
    }
};

TEST(InterfaceTest, VirtualFunctionsKeepTheirOrder) {
    using Proxy = BDataManagerProxy;
    ExpectInOrder("BDataManagerProxy", 2, &Proxy::CanRead, &Proxy::SupportsFormat,
                  static_cast<bool (Proxy::*)(BString const&, BParamList const&)>(&Proxy::CanWrite),
                  static_cast<bool (Proxy::*)(BString const&)>(&Proxy::CanWrite),
                  &Proxy::CreateReader, &Proxy::CreateWriter, &Proxy::DestroyObject,
                  &Proxy::MakeTempInputFileName);
    Reader::Check();
    Collection::Check();
    ExpectInOrder("BFeatures", 0, &BFeatures::Add, &BFeatures::GetCount, &BFeatures::GetAt,
                  &BFeatures::Clear, &BFeatures::Reserve);
    ExpectInOrder("BFeature", 2, &BFeature::SetGeometry, &BFeature::GetGeometry);
    ExpectInOrder("BProgress", 2, &BProgress::WantsReport, &BProgress::Report);
    ExpectInOrder("BRenderer", 2, &BRenderer::ConvertMapToWindow, &BRenderer::DrawPoint,
                  &BRenderer::DrawPoints, &BRenderer::DrawPolyline, &BRenderer::DrawPolygon);
}

#endif

TEST(InterfaceTest, DerivedFeaturesKeepTheirAlignmentAndTheirOverrides) {
    struct alignas(16) Wide : BFeature {
        int geometries = 0;
        void SetGeometry(BSharedPtr<BGeometry> const& shape) override {
            ++geometries;
            BFeature::SetGeometry(shape);
        }
    };
    struct alignas(64) Wider : Wide {};
    std::vector<BSharedPtr<BFeature>> features;
    for (int i = 0; i < 100; ++i) {
        features.emplace_back(new BFeature);
        auto* const wide = i % 2 == 0 ? new Wide : new Wider;
        features.emplace_back(wide);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(wide) % (i % 2 == 0 ? 16 : 64), 0U);
        features.back()->SetGeometry(BSharedPtr<BGeometry>(new BPointGeo(BPoint(1, 2))));
        EXPECT_EQ(wide->geometries, 1);
    }
}

} // namespace
} // namespace Ambrel::Test
