// What the disk cache does on disk.

#include "FeatureSamples.h"

#include <numeric>

namespace Ambrel::Test {
namespace {

class DiskCacheTest : public testing::Test {
protected:
    std::vector<std::filesystem::path> Files() const {
        return {std::filesystem::directory_iterator(folder.Path()), {}};
    }

    TemporaryFolder const folder;
    BString const baseName = folder.File("cache");
};

TEST_F(DiskCacheTest, HasOneFileForEachLayerWhileTheLayerLives) {
    auto first = std::make_unique<BVectorLayer>(baseName, 2);
    auto second = std::make_unique<BVectorLayer>(baseName, 2);
    EXPECT_TRUE(Files().empty());
    for (int i = 0; i < 5; ++i) {
        first->GetFeatures().Add(NumberedPoint(i));
        second->GetFeatures().Add(NumberedPoint(10 + i));
    }
    ASSERT_EQ(Files().size(), 2U);
    EXPECT_TRUE(Files()[0].filename().string().starts_with("cache-"));
    EXPECT_EQ(Numbers(first->GetFeatures()), (std::vector<int>{0, 1, 2, 3, 4}));
    EXPECT_EQ(Numbers(second->GetFeatures()), (std::vector<int>{10, 11, 12, 13, 14}));
    first->GetFeatures().Sort(0, false); // fills a new file and drops the old one
    EXPECT_EQ(Files().size(), 2U);
    first->GetFeatures().Clear();
    EXPECT_EQ(Files().size(), 1U);
    second.reset();
    EXPECT_TRUE(Files().empty());
}

TEST_F(DiskCacheTest, LeavesNothingBehindWhereItChoosesTheNameHoweverTheProcessEnds) {
    std::string const former = getenv("TMPDIR") ? getenv("TMPDIR") : "";
    setenv("TMPDIR", folder.Path().c_str(), 1);
    BDiskCacheFeatureCollection features("", 2);
    for (int i = 0; i < 100; ++i) {
        features.Add(NumberedPoint(i));
    }
    features.Sort(0, false);
    EXPECT_TRUE(Files().empty());
    EXPECT_EQ(Numbers(features).back(), 0);
    former.empty() ? unsetenv("TMPDIR") : setenv("TMPDIR", former.c_str(), 1);
}

TEST_F(DiskCacheTest, NamesTheFileThatCanNotBeMade) {
    BString const missing = folder.File("missing/cache");
    BDiskCacheFeatureCollection features(missing, 2);
    EXPECT_BEXCEPTION(features.Add(NumberedPoint(1)), BResourceException, "BlockFile::BlockFile",
                      BString::Format("%s-*", missing.Ascii()));
    EXPECT_EQ(features.GetCount(), 0U);
}

TEST_F(DiskCacheTest, WritesPagesOfLargeFeaturesBeforeTheyAreFull) {
    BDiskCacheFeatureCollection features(baseName, 1024);
    for (int i = 0; i < 40; ++i) {
        features.Add(LongLine(i, 10000)); // 240 kB each
    }
    EXPECT_GT(std::filesystem::file_size(Files().at(0)), 5'000'000U);
    EXPECT_EQ(Describe(*features.GetAt(0)), Describe(*LongLine(0, 10000)));
    EXPECT_EQ(Describe(*features.GetAt(39)), Describe(*LongLine(39, 10000)));

    std::filesystem::resize_file(Files().at(0), 4096);
    EXPECT_BEXCEPTION(Numbers(features), BResourceException, "BlockFile::Read",
                      BString::Format("%s: *", Files().at(0).c_str()));
}

TEST_F(DiskCacheTest, SplitsPagesThatGrow) {
    BDiskCacheFeatureCollection features(baseName, 60);
    for (int i = 0; i < 100; ++i) {
        features.Add(NumberedPoint(i));
    }
    // Pages grow by features at their start, everywhere, and in the page that is being filled.
    for (int i = 0; i < 90; ++i) {
        features.SetAt(static_cast<std::uint64_t>(i), LongLine(i, 10000));
    }
    EXPECT_GT(std::filesystem::file_size(Files().at(0)), 10'000'000U);
    std::vector<int> expected(100);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(Numbers(features), expected);
    features.Remove(70);
    expected.erase(expected.begin() + 70);
    EXPECT_EQ(Numbers(features), expected);
    EXPECT_EQ(Describe(*features.GetAt(30)), Describe(*LongLine(30, 10000)));
}

} // namespace
} // namespace Ambrel::Test
