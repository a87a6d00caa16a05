#include "Expectations.h"
#include "FeatureSamples.h"

#include <Ambrel/BDirectAccessFeatureCollection.h>
#include <Ambrel/BMemoryFeatureCollection.h>
#include <Ambrel/BRenderer.h>

#include <functional>

namespace Ambrel::Test {
namespace {

/// Ten points, made when they are asked for.
class TenPoints : public BDirectAccessFeatureCollection {
public:
    std::uint64_t GetCount() const override { return 10; }
    bool CanRender() const override { return true; }
    void RenderFeatures(std::vector<std::uint64_t> const& indexes,
                        BRenderer const*) const override {
        drawn = indexes;
    }
    using BDirectAccessFeatureCollection::RenderFeatures;

    mutable std::vector<std::uint64_t> drawn;

protected:
    BSharedPtr<BFeature> const GetAtImpl(std::uint64_t index, bool) const override {
        return NumberedPoint(static_cast<int>(index));
    }
    void SelectFeaturesImpl(BRect const& area, BParamList const&,
                            std::vector<std::uint64_t>& result) const override {
        result.push_back(static_cast<std::uint64_t>(area.xMin));
    }
    bool HasFeaturesInAreaImpl(BRect const& area, BParamList const&) const override {
        return area.xMin < 10;
    }
    BBox ComputeMBBImpl() const override { return BBox(BRect(0, 0, 9, 18)); }
};

TEST(DirectAccessCollection, AnswersThroughItsSource) {
    TenPoints features;
    BFeatureCollection const& constant = features;
    EXPECT_EQ(Numbers(features), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(constant.GetGeometryAt(2)->ComputeMBB().yMin, 4);
    EXPECT_EQ(features.ComputeMBB().yMax, 18);
    EXPECT_TRUE(features.HasFeaturesInArea(BRect(1, 0, 1, 0), BParamList()));
    EXPECT_FALSE(features.HasFeaturesInArea(BRect(11, 0, 11, 0), BParamList()));
    BRenderingParams params;
    params.area = BRect(5, 0, 6, 1);
    features.RenderFeatures(&params);
    EXPECT_EQ(features.drawn, std::vector<std::uint64_t>{5});

    BByteArray const bytes = features.ToByteArray();
    EXPECT_EQ(features.ComputeSize(), bytes.size());
    BMemoryFeatureCollection copy;
    std::uint64_t position = 0;
    copy.FromByteArray(bytes, position);
    EXPECT_EQ(Describe(copy), Describe(features));

    EXPECT_BEXCEPTION(features.GetAt(10), BIndexOutOfBoundsException,
                      "BDirectAccessFeatureCollection::GetAt", "Index=10, Count=10");
    EXPECT_BEXCEPTION(constant.GetGeometryAt(1ULL << 32), BIndexOutOfBoundsException,
                      "BDirectAccessFeatureCollection::GetGeometryAt",
                      "Index=4294967296, Count=10");
}

TEST(DirectAccessCollection, RefusesChanges) {
    TenPoints source;
    BFeatureCollection& features = source;
    EndAt progress(0);
    std::uint64_t position = 0;
    struct {
        char const* operation;
        char const* message;
        std::function<void()> call;
    } const calls[] = {
        {"Add", "Features can not be added", [&] { features.Add(NumberedPoint(1)); }},
        {"Add", "Features can not be added", [&] { features.Add(*NumberedPoint(1)); }},
        {"Add", "Features can not be added", [&] { features.Add(source); }},
        {"Remove", "Features can not be removed", [&] { features.Remove(0); }},
        {"Release", "Features can not be removed", [&] { features.Release(0); }},
        {"Clear", "Features can not be removed", [&] { features.Clear(); }},
        {"Reserve", "Features can not be added", [&] { features.Reserve(1); }},
        {"SetAt", "Features can not be replaced", [&] { features.SetAt(0, NumberedPoint(1)); }},
        {"Sort", "The features can not be sorted", [&] { features.Sort(0, true); }},
        {"Transform", "The features can not be transformed", [&] { features.Transform(Shift()); }},
        {"TransformReverse", "The features can not be transformed",
         [&] { features.TransformReverse(Shift(), progress); }},
        {"FromByteArray", "The features can not be made from bytes",
         [&] { features.FromByteArray({}, position); }},
    };
    for (auto const& call : calls) {
        EXPECT_BEXCEPTION(call.call(), BUnsupportedCapabilityException,
                          BString::Format("BFeatureCollection::%s", call.operation), call.message);
    }
}

} // namespace
} // namespace Ambrel::Test
