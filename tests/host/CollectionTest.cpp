// What collections in memory and in the disk cache have in common.

#include "Expectations.h"
#include "FeatureSamples.h"
#include "TemporaryFolder.h"

#include <Ambrel/BDiskCacheFeatureCollection.h>
#include <Ambrel/BMemoryFeatureCollection.h>
#include <Ambrel/BRenderer.h>

#include <cmath>
#include <functional>
#include <memory>

namespace Ambrel::Test {
namespace {

enum class Kind { Memory, DiskCache };

/// Pages of three features: most of what is tested crosses their bounds.
class CollectionTest : public testing::TestWithParam<Kind> {
protected:
    std::unique_ptr<BFeatureCollection> Make() const {
        if (GetParam() == Kind::Memory) {
            return std::make_unique<BMemoryFeatureCollection>();
        }
        return std::make_unique<BDiskCacheFeatureCollection>(folder.File("cache"), 3);
    }
    std::unique_ptr<BFeatureCollection> MakeNumbered(int count) const {
        std::unique_ptr<BFeatureCollection> features = Make();
        for (int i = 0; i < count; ++i) {
            features->Add(NumberedPoint(i));
        }
        return features;
    }
    BString Operation(char const* name) const {
        return BString::Format("%s::%s",
                               GetParam() == Kind::Memory ? "BMemoryFeatureCollection"
                                                          : "BDiskCacheFeatureCollection",
                               name);
    }

    TemporaryFolder folder;
};

INSTANTIATE_TEST_SUITE_P(Kinds, CollectionTest, testing::Values(Kind::Memory, Kind::DiskCache),
                         [](auto const& info) {
                             return info.param == Kind::Memory ? "Memory" : "DiskCache";
                         });

TEST_P(CollectionTest, GivesBackEveryKindOfFeature) {
    std::unique_ptr<BFeatureCollection> const features = Make();
    std::vector<std::string> expected;
    for (int round = 0; round < 3; ++round) {
        for (BSharedPtr<BFeature> const& feature : FeaturesOfAllKinds()) {
            expected.push_back(Describe(*feature));
            features->Add(feature);
        }
    }
    EXPECT_EQ(Describe(*features), expected);
}

TEST_P(CollectionTest, AddsCopiesOfFeaturesAndCollections) {
    BSharedPtr<BFeature> const original = NumberedPoint(1);
    std::unique_ptr<BFeatureCollection> const features = Make();
    features->Add(*original);
    features->Add(*features);
    original->attributes.GetAt(0).SetValue(BVariant(9));
    static_cast<BPointGeo&>(*original->GetGeometry()).SetZ(9);
    EXPECT_EQ(Numbers(*features), (std::vector<int>{1, 1}));
    EXPECT_EQ(Describe(*features->GetAt(0)), Describe(*NumberedPoint(1)));
    EXPECT_FALSE(features->GetAt(0) == features->GetAt(1));
}

TEST_P(CollectionTest, RemovesReplacesAndReleasesAcrossPages) {
    std::unique_ptr<BFeatureCollection> const features = MakeNumbered(11);
    features->SetAt(4, NumberedPoint(40));
    features->Remove(0);
    EXPECT_EQ(Describe(*features->Release(2)), Describe(*NumberedPoint(3)));
    EXPECT_EQ(Numbers(*features), (std::vector<int>{1, 2, 40, 5, 6, 7, 8, 9, 10}));
    features->SetAt(8, LongLine(100, 50)); // in the page that is being filled
    features->SetAt(0, LongLine(101, 50));
    features->Remove(0);
    features->Remove(0); // the first page is empty now
    features->Add(NumberedPoint(11));
    EXPECT_EQ(Numbers(*features), (std::vector<int>{40, 5, 6, 7, 8, 9, 100, 11}));
    EXPECT_EQ(Describe(*features->GetAt(6)), Describe(*LongLine(100, 50)));
    while (features->GetCount() > 0) {
        features->Remove(features->GetCount() - 1);
    }
    features->Add(NumberedPoint(12));
    EXPECT_EQ(Numbers(*features), std::vector<int>{12});
    features->Clear();
    EXPECT_EQ(features->GetCount(), 0U);
    features->Add(NumberedPoint(13));
    EXPECT_EQ(Numbers(*features), std::vector<int>{13});
}

TEST_P(CollectionTest, RefusesIndexesAtTheCount) {
    std::unique_ptr<BFeatureCollection> const features = MakeNumbered(4);
    BFeatureCollection const& constant = *features;
    struct {
        char const* name;
        std::function<void()> call;
    } const calls[] = {
        {"GetAt", [&] { features->GetAt(4); }},
        {"GetAt", [&] { constant.GetAt(4); }},
        {"GetGeometryAt", [&] { features->GetGeometryAt(4); }},
        {"GetGeometryAt", [&] { constant.GetGeometryAt(4); }},
        {"SetAt", [&] { features->SetAt(4, NumberedPoint(0)); }},
        {"Remove", [&] { features->Remove(4); }},
        {"Release", [&] { features->Release(4); }},
        {"GetFeatureMBRAt", [&] { features->GetFeatureMBRAt(4); }},
    };
    for (auto const& call : calls) {
        EXPECT_BEXCEPTION(call.call(), BIndexOutOfBoundsException, Operation(call.name),
                          "Index=4, Count=4");
    }
    EXPECT_EQ(features->GetCount(), 4U);
}

TEST_P(CollectionTest, RefusesEmptyHoldersAndDrawing) {
    std::unique_ptr<BFeatureCollection> const features = MakeNumbered(1);
    EXPECT_BEXCEPTION(features->Add(BSharedPtr<BFeature>()), BException, Operation("Add"),
                      "The holder has no feature");
    EXPECT_BEXCEPTION(features->SetAt(0, BSharedPtr<BFeature>()), BException, Operation("SetAt"),
                      "The holder has no feature");
    BRenderingParams const params;
    EXPECT_FALSE(features->CanRender());
    EXPECT_BEXCEPTION(features->RenderFeatures(&params), BUnsupportedCapabilityException,
                      "BFeatureCollection::RenderFeatures", "The features can not be drawn");
}

TEST_P(CollectionTest, CountsGeometriesByClassAndType) {
    std::unique_ptr<BFeatureCollection> const features = MakeNumbered(4);
    auto const counts = [&](EGeometryClass geometryClass, EGeometryType type) {
        return std::pair(features->GetGeometryCounts().GetGeometryClassCount(geometryClass),
                         features->GetGeometryCounts().GetGeometryTypeCount(type));
    };
    using Counts = std::pair<std::uint64_t, std::uint64_t>;
    features->Add(*LongLine(0, 2));
    features->Add(BSharedPtr<BFeature>(new BFeature));
    EXPECT_EQ(counts(GEO_CLASS_POINTS, GEO_POINT), Counts(4, 4));
    EXPECT_EQ(counts(GEO_CLASS_LINES, GEO_POLYLINE), Counts(1, 1));
    EXPECT_EQ(counts(GEO_CLASS_NONE, GEO_NONE), Counts(0, 0));
    features->SetAt(0, LongLine(1, 2));
    features->Remove(1);
    features->Release(3);
    EXPECT_EQ(counts(GEO_CLASS_POINTS, GEO_POINT), Counts(2, 2));
    EXPECT_EQ(counts(GEO_CLASS_LINES, GEO_POLYLINE), Counts(1, 1));
    features->Clear();
    EXPECT_EQ(counts(GEO_CLASS_POINTS, GEO_POINT), Counts(0, 0));
}

TEST_P(CollectionTest, SelectsByRectangleAndTellsBoxes) {
    std::unique_ptr<BFeatureCollection> const features = MakeNumbered(10);
    features->SetAt(3, BSharedPtr<BFeature>(new BFeature));
    BRect const area(2, 4, 5, 10); // edges included: points 2 to 5
    std::vector<std::uint64_t> selected = {77};
    features->SelectFeatures(area, BParamList(), selected);
    EXPECT_EQ(selected, (std::vector<std::uint64_t>{77, 2, 4, 5}));
    EXPECT_TRUE(features->HasFeaturesInArea(area, BParamList()));
    EXPECT_FALSE(features->HasFeaturesInArea(BRect(3, 6, 3, 6), BParamList()));
    EXPECT_EQ(features->GetFeatureMBRAt(9).xMin, 9);
    EXPECT_TRUE(features->GetFeatureMBRAt(3).IsEmpty());
    BBox const box = features->ComputeMBB();
    EXPECT_EQ(box.xMin, 0);
    EXPECT_EQ(box.yMax, 18);
    EXPECT_TRUE(BRect(Make()->ComputeMBB()).IsEmpty());
}

TEST_P(CollectionTest, TransformsUntilTheObserverEndsIt) {
    std::unique_ptr<BFeatureCollection> const features = MakeNumbered(9);
    features->Add(BSharedPtr<BFeature>(new BFeature));
    auto const x = [&](std::uint64_t index) { return features->GetFeatureMBRAt(index).xMin; };
    EndAt progress(4);
    features->Transform(Shift(), progress);
    EXPECT_EQ(x(0), 100);
    EXPECT_EQ(x(3), 103);
    EXPECT_EQ(x(4), 4);
    features->Transform(Shift());
    EXPECT_EQ(x(3), 203);
    EXPECT_EQ(x(8), 108);
    features->TransformReverse(Shift());
    EndAt immediately(0);
    features->TransformReverse(Shift(), immediately);
    EXPECT_EQ(x(0), 0);
    EXPECT_EQ(x(1), 1);
    EXPECT_EQ(x(2), 102);
}

TEST_P(CollectionTest, SortsNullsNumbersAndTexts) {
    BVariant big;
    big.SetValue(std::uint64_t{1} << 63);
    std::int64_t const above53Bits = (std::int64_t{1} << 53) + 1;
    std::vector<BVariant> const values = {BVariant("b"),
                                          BVariant(10),
                                          BVariant(),
                                          BVariant("B"),
                                          BVariant(9.5),
                                          BVariant("10"),
                                          BVariant(std::nan("")),
                                          BVariant(above53Bits),
                                          BVariant(double(std::int64_t{1} << 53)),
                                          big,
                                          BVariant(10.0),
                                          BVariant(-3)};
    std::unique_ptr<BFeatureCollection> const features = Make();
    for (std::size_t i = 0; i < values.size(); ++i) {
        features->Add(NumberedPoint(static_cast<int>(i)));
        BSharedPtr<BFeature> const feature = features->GetAt(i);
        feature->attributes.Add("key", values[i]);
        features->SetAt(i, feature);
    }
    features->Add(NumberedPoint(12)); // has no such attribute
    features->Sort(1, true);
    EXPECT_EQ(Numbers(*features), (std::vector<int>{2, 12, 6, 11, 4, 1, 10, 8, 7, 9, 5, 3, 0}));
    features->Sort(1, false);
    EXPECT_EQ(Numbers(*features), (std::vector<int>{0, 3, 5, 9, 7, 8, 1, 10, 4, 11, 6, 2, 12}));
}

TEST_P(CollectionTest, TurnsIntoBytesAndBack) {
    std::unique_ptr<BFeatureCollection> const features = Make();
    for (BSharedPtr<BFeature> const& feature : FeaturesOfAllKinds()) {
        features->Add(feature);
    }
    BByteArray bytes = {1, 2, 3};
    features->ToByteArray(bytes);
    EXPECT_EQ(features->ComputeSize(), bytes.size() - 3);
    bytes.push_back(4);

    std::unique_ptr<BFeatureCollection> const copy = MakeNumbered(5);
    std::uint64_t position = 3;
    copy->FromByteArray(bytes, position);
    EXPECT_EQ(position, bytes.size() - 1);
    EXPECT_EQ(Describe(*copy), Describe(*features));
    EXPECT_EQ(copy->GetGeometryCounts().GetGeometryTypeCount(GEO_POINT), 1U);
    // The same bytes: the features that are read share the names of their attributes.
    BSharedPtr<BFeature> const first = copy->GetAt(0);
    BSharedPtr<BFeature> const second = copy->GetAt(1);
    EXPECT_EQ(static_cast<void const*>(first->attributes.GetAt(2).GetName().Ascii()),
              static_cast<void const*>(second->attributes.GetAt(1).GetName().Ascii()));
    EXPECT_EQ(copy->ToByteArray(), features->ToByteArray());
}

TEST_P(CollectionTest, RefusesDamagedBytes) {
    std::unique_ptr<BFeatureCollection> const features = Make();
    for (BSharedPtr<BFeature> const& feature : FeaturesOfAllKinds()) {
        features->Add(feature);
    }
    BByteArray const sound = features->ToByteArray();
    std::unique_ptr<BFeatureCollection> const target = MakeNumbered(4);
    // Whether the bytes are taken; if they are not, nothing has changed.
    auto const isTaken = [&](BByteArray const& bytes) {
        std::uint64_t position = 0;
        try {
            target->FromByteArray(bytes, position);
            return true;
        } catch (BFileContentNotValidException const& failure) {
            EXPECT_EQ(failure.GetOperation(), Operation("FromByteArray"));
            EXPECT_EQ(position, 0U);
            EXPECT_EQ(target->GetCount(), 4U);
            return false;
        }
    };
    for (std::size_t size = 0; size < sound.size(); size += GetParam() == Kind::Memory ? 1 : 17) {
        EXPECT_FALSE(isTaken(BByteArray(sound.begin(), sound.begin() + std::ptrdiff_t(size))));
    }
    std::size_t refused = 0;
    for (std::size_t i = 0; i < sound.size(); i += GetParam() == Kind::Memory ? 1 : 17) {
        for (std::uint8_t damage : {0x01, 0x80, 0xFF}) {
            BByteArray damaged = sound;
            damaged[i] ^= damage;
            if (isTaken(damaged)) {
                // A coordinate or a letter has changed, or such like; it must still be readable.
                EXPECT_EQ(Describe(*target).size(), target->GetCount());
                target->Clear();
                for (int number = 0; number < 4; ++number) {
                    target->Add(NumberedPoint(number));
                }
            } else {
                ++refused;
            }
        }
    }
    EXPECT_GT(refused, 0U);
    std::uint64_t behind = sound.size() + 1;
    EXPECT_BEXCEPTION(target->FromByteArray(sound, behind), BFileContentNotValidException,
                      Operation("FromByteArray"), "the position is behind the bytes");
}

TEST(CollectionBytes, RefuseGeometriesThatAreNestedTooDeep) {
    BSharedPtr<BAreaGeo> area(new BPolygon);
    for (int depth = 0; depth < 100; ++depth) {
        BSharedPtr<BDonut> const around(new BDonut);
        around->SetShell(area);
        area = around;
    }
    BSharedPtr<BFeature> const feature(new BFeature);
    feature->SetGeometry(area);
    BMemoryFeatureCollection features;
    features.Add(feature);
    BByteArray bytes = {7};
    EXPECT_THROW(features.ToByteArray(bytes), BUnknownGeometryException);
    EXPECT_EQ(bytes, BByteArray{7});
}

} // namespace
} // namespace Ambrel::Test
