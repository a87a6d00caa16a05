#include "Expectations.h"
#include "FeatureSamples.h"
#include "TemporaryFolder.h"

#include <Ambrel/BDiskCacheFeatureCollection.h>
#include <Ambrel/BLayer.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <random>

namespace Ambrel::Test {
namespace {

std::vector<std::filesystem::path> FilesIn(std::filesystem::path const& folder) {
    std::vector<std::filesystem::path> files;
    for (auto const& entry : std::filesystem::directory_iterator(folder)) {
        files.push_back(entry.path());
    }
    return files;
}

TEST(DiskCache, HasOneFileForEachLayerWhileTheLayerLives) {
    TemporaryFolder const folder;
    auto first = std::make_unique<BVectorLayer>(folder.File("cache"), 2);
    auto second = std::make_unique<BVectorLayer>(folder.File("cache"), 2);
    EXPECT_TRUE(FilesIn(folder).empty());
    for (int i = 0; i < 5; ++i) {
        first->GetFeatures().Add(NumberedPoint(i));
        second->GetFeatures().Add(NumberedPoint(10 + i));
    }
    ASSERT_EQ(FilesIn(folder).size(), 2U);
    EXPECT_EQ(FilesIn(folder)[0].filename().string().rfind("cache-", 0), 0U);
    EXPECT_EQ(Numbers(first->GetFeatures()), (std::vector<int>{0, 1, 2, 3, 4}));
    EXPECT_EQ(Numbers(second->GetFeatures()), (std::vector<int>{10, 11, 12, 13, 14}));
    first->GetFeatures().Sort(0, false); // fills a new file and drops the old one
    EXPECT_EQ(FilesIn(folder).size(), 2U);
    first->GetFeatures().Clear();
    EXPECT_EQ(FilesIn(folder).size(), 1U);
    first.reset();
    second.reset();
    EXPECT_TRUE(FilesIn(folder).empty());
}

TEST(DiskCache, NamesTheFileThatCanNotBeMade) {
    TemporaryFolder const folder;
    BDiskCacheFeatureCollection features(folder.File("missing/cache"), 2);
    try {
        features.Add(NumberedPoint(1));
        FAIL() << "threw nothing";
    } catch (BResourceException const& failure) {
        EXPECT_EQ(std::string(failure.what()).find(folder.File("missing/cache-").Ascii()), 0U)
            << failure.what();
    }
    EXPECT_EQ(features.GetCount(), 0U);
}

TEST(DiskCache, PagesOfLargeFeaturesAreWrittenBeforeTheyAreFull) {
    TemporaryFolder const folder;
    BDiskCacheFeatureCollection features(folder.File("cache"), 1024);
    for (int i = 0; i < 40; ++i) {
        features.Add(LongLine(i, 10000)); // 240 kB each
    }
    EXPECT_GT(std::filesystem::file_size(FilesIn(folder).at(0)), 5'000'000U);
    EXPECT_EQ(Describe(*features.GetAt(0)), Describe(*LongLine(0, 10000)));
    EXPECT_EQ(Describe(*features.GetAt(39)), Describe(*LongLine(39, 10000)));
}

TEST(DiskCache, SplitsPagesThatGrow) {
    TemporaryFolder const folder;
    BDiskCacheFeatureCollection features(folder.File("cache"), 60);
    for (int i = 0; i < 100; ++i) {
        features.Add(NumberedPoint(i));
    }
    std::vector<int> expected(100);
    for (int i = 0; i < 100; ++i) {
        expected[static_cast<std::size_t>(i)] = i;
    }
    // Pages grow by features at their start, everywhere, and in the page that is being filled.
    for (int i = 0; i < 90; ++i) {
        features.SetAt(static_cast<std::uint64_t>(i), LongLine(i, 10000));
    }
    EXPECT_GT(std::filesystem::file_size(FilesIn(folder).at(0)), 10'000'000U);
    EXPECT_EQ(Numbers(features), expected);
    features.Remove(70);
    features.Remove(10);
    expected.erase(expected.begin() + 70);
    expected.erase(expected.begin() + 10);
    EXPECT_EQ(Numbers(features), expected);
    EXPECT_EQ(Describe(*features.GetAt(30)), Describe(*LongLine(31, 10000)));
}

TEST(DiskCache, AnyOrderOfChangesGivesWhatFeaturesInAListGive) {
    TemporaryFolder const folder;
    BDiskCacheFeatureCollection features(folder.File("cache"), 4);
    std::vector<int> model;
    std::mt19937 random(7); // NOLINT: the same changes at every run
    for (int step = 0; step < 3000; ++step) {
        std::size_t const place = model.empty() ? 0 : random() % model.size();
        switch (model.empty() ? 0 : random() % 5) {
        case 2:
            features.SetAt(place, LongLine(step, static_cast<int>(random() % 40)));
            model[place] = step;
            break;
        case 3:
            features.Remove(place);
            model.erase(model.begin() + static_cast<std::ptrdiff_t>(place));
            break;
        default: features.Add(NumberedPoint(step)); model.push_back(step);
        }
        ASSERT_EQ(features.GetCount(), model.size());
        if (!model.empty()) {
            std::size_t const asked = random() % model.size();
            auto const number = features.GetAt(asked)->attributes.GetAt(0).GetValue();
            ASSERT_EQ(number.GetValueAsInteger(-1), model[asked]) << "after step " << step;
        }
    }
    EXPECT_EQ(Numbers(features), model);
}

TEST(DiskCache, ReportsAStoreThatWasDamaged) {
    TemporaryFolder const folder;
    BDiskCacheFeatureCollection features(folder.File("cache"), 1024);
    for (int i = 0; i < 60; ++i) {
        features.Add(LongLine(i, 10000));
    }
    std::filesystem::path const file = FilesIn(folder).at(0);
    std::filesystem::resize_file(file, 4096);
    try {
        Numbers(features);
        FAIL() << "threw nothing";
    } catch (BResourceException const& failure) {
        EXPECT_NE(std::string(failure.what()).find(file.string()), std::string::npos)
            << failure.what();
    }
}

} // namespace
} // namespace Ambrel::Test
