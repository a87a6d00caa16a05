// What collections in memory and in the disk cache have in common.

#include "FeatureSamples.h"

#include <cmath>
#include <functional>
#include <random>

namespace Ambrel::Test {
namespace {

/// The parameter is the collection's class. Pages hold three features: most of what is tested
/// crosses their bounds.
class CollectionTest : public testing::TestWithParam<std::string> {
protected:
    std::unique_ptr<BFeatureCollection> Make() const {
        if (GetParam() == "BMemoryFeatureCollection") {
            return std::make_unique<BMemoryFeatureCollection>();
        }
        return std::make_unique<BDiskCacheFeatureCollection>(folder.File("cache"), 3);
    }
    void AddPoints(int count) {
        for (int i = 0; i < count; ++i) {
            features->Add(NumberedPoint(i));
        }
    }
    BString Operation(char const* name) const {
        return BString::Format("%s::%s", GetParam().c_str(), name);
    }

    TemporaryFolder const folder;
    std::unique_ptr<BFeatureCollection> const features = Make();
};

INSTANTIATE_TEST_SUITE_P(Kinds, CollectionTest,
                         testing::Values("BMemoryFeatureCollection", "BDiskCacheFeatureCollection"),
                         [](auto const& info) { return info.param; });

TEST_P(CollectionTest, GivesBackEveryKindOfFeatureAsItsBytesDo) {
    std::vector<std::string> expected;
    for (int round = 0; round < 3; ++round) {
        for (BSharedPtr<BFeature> const& feature : FeaturesOfAllKinds()) {
            expected.push_back(Describe(*feature));
            features->Add(feature);
        }
    }
    EXPECT_EQ(Describe(*features), expected);
    BByteArray bytes = {1, 2, 3};
    features->ToByteArray(bytes);
    EXPECT_EQ(features->ComputeSize(), bytes.size() - 3);
    bytes.push_back(4);

    std::unique_ptr<BFeatureCollection> const copy = Make();
    copy->Add(NumberedPoint(1)); // which the bytes replace
    std::uint64_t position = 3;
    copy->FromByteArray(bytes, position);
    EXPECT_EQ(position, bytes.size() - 1);
    EXPECT_EQ(Describe(*copy), expected);
    EXPECT_EQ(copy->GetGeometryCounts().GetGeometryTypeCount(GEO_POINT), 3U);
    EXPECT_EQ(copy->ToByteArray(), features->ToByteArray());
    // The features that are read share the names of their attributes.
    BSharedPtr<BFeature> const first = copy->GetAt(0);
    BSharedPtr<BFeature> const second = copy->GetAt(1);
    EXPECT_EQ(static_cast<void const*>(first->attributes.GetAt(2).GetName().Ascii()),
              static_cast<void const*>(second->attributes.GetAt(1).GetName().Ascii()));
}

TEST_P(CollectionTest, AddsCopiesOfFeaturesAndCollections) {
    BSharedPtr<BFeature> const original = NumberedPoint(1);
    features->Add(*original);
    features->Add(*features);
    original->attributes.GetAt(0).SetValue(BVariant(9));
    static_cast<BPointGeo&>(*original->GetGeometry()).SetZ(9);
    EXPECT_EQ(Describe(*features), std::vector<std::string>(2, Describe(*NumberedPoint(1))));
    EXPECT_FALSE(features->GetAt(0) == features->GetAt(1));
}

/// A point, a line of any length, or no geometry.
BSharedPtr<BFeature> Numbered(int number) {
    BSharedPtr<BFeature> feature = LongLine(number, number % 40);
    if (number % 3 == 2) {
        feature->SetGeometry(BSharedPtr<BGeometry>());
    }
    return number % 3 == 0 ? NumberedPoint(number) : feature;
}

TEST_P(CollectionTest, AnyOrderOfChangesGivesWhatFeaturesInAListGive) {
    std::vector<int> model;
    BGeometryCounts const& counts = features->GetGeometryCounts();
    std::mt19937 random(7); // NOLINT: the same changes at every run
    for (int step = 0; step < 3000; ++step) {
        std::size_t const place = model.empty() ? 0 : random() % model.size();
        unsigned const changes = step % 1000 < 300 ? 10 : 4; // grow, then shrink to nothing
        switch (model.empty() ? 0 : random() % changes) {
        case 1: {
            BSharedPtr<BFeature> feature = Numbered(step);
            if (step % 2 == 0) { // the one that is there is changed and put back
                BSharedPtr<BFeature> const there = features->GetAt(place);
                *there = *feature;
                feature = there;
            }
            features->SetAt(place, feature);
            model[place] = step;
            break;
        }
        case 2:
            features->Remove(place);
            model.erase(model.begin() + static_cast<std::ptrdiff_t>(place));
            break;
        case 3:
            ASSERT_EQ(Describe(*features->Release(place)), Describe(*Numbered(model[place])));
            model.erase(model.begin() + static_cast<std::ptrdiff_t>(place));
            break;
        default: features->Add(Numbered(step)); model.push_back(step);
        }
        SCOPED_TRACE(step);
        ASSERT_EQ(features->GetCount(), model.size());
        if (!model.empty()) {
            std::size_t const asked = random() % model.size();
            ASSERT_EQ(Describe(*features->GetAt(asked)), Describe(*Numbered(model[asked])));
        }
        std::uint64_t expected[3] = {};
        for (int const number : model) {
            ++expected[number % 3];
        }
        ASSERT_EQ(counts.GetGeometryTypeCount(GEO_POINT), expected[0]);
        ASSERT_EQ(counts.GetGeometryClassCount(GEO_CLASS_POINTS), expected[0]);
        ASSERT_EQ(counts.GetGeometryClassCount(GEO_CLASS_LINES), expected[1]);
        ASSERT_EQ(counts.GetGeometryTypeCount(GEO_NONE), 0U);
    }
    AddPoints(7);
    features->Clear();
    EXPECT_EQ(counts.GetGeometryTypeCount(GEO_POINT), 0U);
    AddPoints(4);
    EXPECT_EQ(Numbers(*features), (std::vector<int>{0, 1, 2, 3}));
}

TEST_P(CollectionTest, RefusesIndexesAtTheCountEmptyHoldersAndDrawing) {
    AddPoints(4);
    BFeatureCollection const& constant = *features;
    std::pair<char const*, std::function<void()>> const calls[] = {
        {"GetAt", [&] { features->GetAt(4); }},
        {"GetAt", [&] { constant.GetAt(4); }},
        {"GetGeometryAt", [&] { features->GetGeometryAt(4); }},
        {"GetGeometryAt", [&] { constant.GetGeometryAt(4); }},
        {"SetAt", [&] { features->SetAt(4, NumberedPoint(0)); }},
        {"Remove", [&] { features->Remove(4); }},
        {"Release", [&] { features->Release(4); }},
        {"GetFeatureMBRAt", [&] { features->GetFeatureMBRAt(4); }},
    };
    for (auto const& [name, call] : calls) {
        EXPECT_BEXCEPTION(call(), BIndexOutOfBoundsException, Operation(name), "Index=4, Count=4");
    }
    EXPECT_EQ(features->GetCount(), 4U);
    BSharedPtr<BFeature> const none;
    EXPECT_BEXCEPTION(features->Add(none), BException, Operation("Add"),
                      "The holder has no feature");
    EXPECT_BEXCEPTION(features->SetAt(0, none), BException, Operation("SetAt"),
                      "The holder has no feature");
    BRenderingParams const params;
    EXPECT_BEXCEPTION(features->RenderFeatures(&params), BUnsupportedCapabilityException,
                      "BFeatureCollection::RenderFeatures", "The features can not be drawn");
}

TEST_P(CollectionTest, SelectsByRectangleAndTellsBoxes) {
    AddPoints(10);
    features->SetAt(3, BSharedPtr<BFeature>(new BFeature));
    BRect const area(2, 4, 5, 10); // edges included: points 2 to 5
    std::vector<std::uint64_t> selected = {77};
    features->SelectFeatures(area, BParamList(), selected);
    EXPECT_EQ(selected, (std::vector<std::uint64_t>{77, 2, 4, 5}));
    EXPECT_TRUE(features->HasFeaturesInArea(area, BParamList()));
    EXPECT_FALSE(features->HasFeaturesInArea(BRect(3, 6, 3, 6), BParamList()));
    EXPECT_EQ(TextOf(features->GetFeatureMBRAt(9)), "9 18 9 18");
    EXPECT_TRUE(features->GetFeatureMBRAt(3).IsEmpty());
    EXPECT_EQ(TextOf(features->ComputeMBB()), "0 0 9 18");
}

TEST_P(CollectionTest, TransformsUntilTheObserverEndsIt) {
    AddPoints(6);
    features->Add(BSharedPtr<BFeature>(new BFeature));
    auto const places = [&] {
        std::vector<double> list;
        for (std::uint64_t i = 0; i < 6; ++i) {
            list.push_back(features->GetFeatureMBRAt(i).xMin);
        }
        return list;
    };
    EndAt fourth(4);
    features->Transform(Shift(), fourth);
    EXPECT_EQ(places(), (std::vector<double>{100, 101, 102, 103, 4, 5}));
    features->Transform(Shift());
    EndAt second(2);
    features->TransformReverse(Shift(), second);
    features->TransformReverse(Shift());
    EXPECT_EQ(places(), (std::vector<double>{0, 1, 102, 103, 4, 5}));
}

/// Changes the collection while it is transformed.
class Meddler final : public BProgress {
public:
    explicit Meddler(std::function<void()> newMeddle) : meddle(std::move(newMeddle)) {}
    bool WantsReport(std::uint32_t, std::uint32_t) override { return true; }
    bool Report(std::uint32_t done, std::uint32_t) override {
        if (done == 3) {
            meddle();
        }
        return true;
    }

private:
    std::function<void()> meddle;
};

TEST_P(CollectionTest, SurvivesAnObserverThatChangesIt) {
    std::pair<std::function<void()>, std::uint64_t> const cases[] = {
        {[&] { features->Clear(); }, 0},
        {[&] { features->Remove(5); }, 5},
        {[&] { features->Sort(0, false); }, 6},
        {[&] {
             std::uint64_t position = 0;
             features->FromByteArray(features->ToByteArray(), position);
         },
         6}};
    for (auto const& [meddle, left] : cases) {
        features->Clear();
        AddPoints(6);
        Meddler observer(meddle);
        features->Transform(Shift(), observer);
        EXPECT_EQ(features->GetCount(), left);
    }
}

TEST_P(CollectionTest, SortsNullsNumbersAndTexts) {
    std::int64_t const above53Bits = (std::int64_t{1} << 53) + 1;
    BVariant big;
    big.SetValue(std::uint64_t{1} << 63);
    std::vector<BVariant> const values{
        "b",          10,          BVariant(),
        "B",          9.5,         "10",
        std::nan(""), above53Bits, static_cast<double>(above53Bits - 1),
        big,          10.0,        -3};
    for (std::size_t i = 0; i < values.size(); ++i) {
        BSharedPtr<BFeature> const feature = NumberedPoint(static_cast<int>(i));
        feature->attributes.Add("key", values[i]);
        features->Add(feature);
    }
    features->Add(NumberedPoint(12)); // has no such attribute
    features->Sort(1, true);
    EXPECT_EQ(Numbers(*features), (std::vector<int>{2, 12, 6, 11, 4, 1, 10, 8, 7, 9, 5, 3, 0}));
    features->Sort(1, false);
    EXPECT_EQ(Numbers(*features), (std::vector<int>{0, 3, 5, 9, 7, 8, 1, 10, 4, 11, 6, 2, 12}));
}

TEST_P(CollectionTest, RefusesDamagedBytes) {
    for (BSharedPtr<BFeature> const& feature : FeaturesOfAllKinds()) {
        features->Add(feature);
    }
    BByteArray const sound = features->ToByteArray();
    // Whether the bytes are taken; if they are not, nothing has changed.
    auto const isTaken = [&](BByteArray const& bytes) {
        std::unique_ptr<BFeatureCollection> const target = Make();
        target->Add(NumberedPoint(7));
        std::uint64_t position = 0;
        try {
            target->FromByteArray(bytes, position);
        } catch (BFileContentNotValidException const& failure) {
            EXPECT_EQ(failure.GetOperation(), Operation("FromByteArray"));
            EXPECT_EQ(position, 0U);
            EXPECT_EQ(Numbers(*target), std::vector<int>{7});
            return false;
        }
        // A coordinate or a letter has changed, or such like; it must still be readable.
        EXPECT_EQ(Describe(*target).size(), target->GetCount());
        return true;
    };
    std::uint64_t behind = sound.size() + 1;
    EXPECT_BEXCEPTION(Make()->FromByteArray(sound, behind), BFileContentNotValidException,
                      Operation("FromByteArray"), "the position is behind the bytes");
    std::size_t const stride = GetParam() == "BMemoryFeatureCollection" ? 1 : 17;
    std::size_t refused = 0;
    for (std::size_t i = 0; i < sound.size(); i += stride) {
        EXPECT_FALSE(isTaken(BByteArray(sound.begin(), sound.begin() + std::ptrdiff_t(i))));
        for (std::uint8_t damage : {0x01, 0x80, 0xFF}) {
            BByteArray damaged = sound;
            damaged[i] ^= damage;
            refused += !isTaken(damaged);
        }
    }
    EXPECT_GT(refused, 0U);
}

TEST(FeatureCollection, RefusesChangesUnlessItsKindMakesThem) {
    class Unchangeable : public BFeatureCollection {
        std::uint64_t GetCount() const override { return 1; }
    } features;
    auto const refuse = [](char const* operation, char const* message, auto action) {
        EXPECT_BEXCEPTION(action(), BUnsupportedCapabilityException,
                          BString::Format("BFeatureCollection::%s", operation), message);
    };
    refuse("Add", "Features can not be added", [&] { features.Add(*NumberedPoint(1)); });
    refuse("Clear", "Features can not be removed", [&] { features.Clear(); });
    refuse("SetAt", "Features can not be replaced", [&] { features.SetAt(0, NumberedPoint(1)); });
    refuse("Sort", "The features can not be sorted", [&] { features.Sort(0, true); });
    refuse("Transform", "The features can not be transformed",
           [&] { features.Transform(Shift()); });
}

TEST(FeatureCollection, RefusesBytesOfGeometriesThatAreNestedTooDeep) {
    BSharedPtr<BAreaGeo> area(new BPolygon);
    for (int depth = 0; depth < 100; ++depth) {
        BSharedPtr<BDonut> const around(new BDonut);
        around->SetShell(area);
        area = around;
    }
    BFeature feature;
    feature.SetGeometry(area);
    BMemoryFeatureCollection features;
    features.Add(feature);
    BByteArray bytes = {7};
    EXPECT_THROW(features.ToByteArray(bytes), BUnknownGeometryException);
    EXPECT_EQ(bytes, BByteArray{7});
}

} // namespace
} // namespace Ambrel::Test
