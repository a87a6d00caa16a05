#include "Expectations.h"
#include "FeatureSamples.h"

#include <Ambrel/BDataManagerProxy.h>
#include <Ambrel/BLogger.h>
#include <Ambrel/Constants.h>

#include <filesystem>

namespace Ambrel::Test {
namespace {

/// Opens anything but "bad", as one layer in three dimensions; "empty" has no layer.
class FakeReader : public BVectorDataReader {
public:
    explicit FakeReader(BParamList const& options) : BVectorDataReader("FAKE", options) {}
    ~FakeReader() override { ++destroyed; }

    bool CanQuery(BString const& query) override { return query == QUERY_DATA_EXTENTS; }
    BParamList QueryInfo(BString const&) override {
        return MakeExtentsParamList(BRect(1, 2, 3, 4));
    }
    bool IsOpen() override { return opened; }
    void ResetStatus() override { SetStatus(STATUS_READY); }

    using BVectorDataReader::UseDirectAccessFeatureCollection;

    static inline int destroyed = 0;

protected:
    void OpenImpl(BString const& fileName, BParamList const&) override {
        if (fileName == "bad") {
            throw BFileNotFoundException("FakeReader::Open", fileName);
        }
        if (!(fileName == "empty")) {
            BSharedPtr<BVectorLayer> const layer(new BVectorLayer);
            layer->Set3d(true);
            layers.Add(layer);
        }
        opened = true;
    }
    void CloseImpl() override { opened = false; }
    void ReadImpl() override {
        BSharedPtr<BFeature> const feature = NumberedPoint(1);
        feature->GetGeometry()->is3d = 1;
        static_cast<BPointGeo&>(*feature->GetGeometry()).SetZ(50);
        BSharedPtr<BLayer> const layer = layers.GetAt(0);
        static_cast<BVectorLayer&>(*layer).GetFeatures().Add(feature);
    }

private:
    bool opened = false;
};

class FakeProxy : public BDataManagerProxy {
public:
    bool SupportsFormat(BString const& format) override { return format == "FAKE"; }
    BDataReader* CreateReader(BString const&, BParamList const& params,
                              BCoordSysRepository* repository, BLogger* logger) override {
        auto* const reader = new FakeReader(params);
        Initialize(reader, repository, logger);
        return reader;
    }
};

TEST(DataReader, TellsItsExtent) {
    FakeReader reader{BParamList()};
    EXPECT_TRUE(reader.GetMBR().IsEmpty()); // not open: there is no answer
    reader.Open("roads", BParamList());
    reader.Read();
    BBox const box = reader.GetMBB();
    EXPECT_EQ(box.xMin, 1);
    EXPECT_EQ(box.yMin, 2);
    EXPECT_EQ(box.xMax, 3);
    EXPECT_EQ(box.yMax, 4);
    EXPECT_EQ(box.zMin, 50);
    EXPECT_EQ(box.zMax, 50);
    BParamList incomplete;
    incomplete.Add("XMin", 1.0);
    EXPECT_TRUE(BDataManager::ExtentsOf(incomplete).IsEmpty());
}

TEST(DataReader, TakesItsOptions) {
    FakeReader const plain{BParamList()};
    EXPECT_FALSE(plain.UsingDiskCache());
    EXPECT_FALSE(plain.UseDirectAccessFeatureCollection());
    EXPECT_EQ(plain.GetDiskCachePageSize(), 1024);
    BParamList options;
    options.Add(OPTION_DIRECT_ACCESS, true);
    options.Add(OPTION_DISK_CACHE, true);
    options.SetValue(OPTION_DISK_CACHE_BASE_NAME, BString("/data/cache"));
    options.SetValue(OPTION_DISK_CACHE_PAGE_SIZE, 7);
    FakeReader set{options};
    EXPECT_TRUE(set.UsingDiskCache());
    EXPECT_TRUE(set.UseDirectAccessFeatureCollection());
    EXPECT_STREQ(set.GetDiskCacheBaseName().Ascii(), "/data/cache");
    EXPECT_EQ(set.GetDiskCachePageSize(), 7);
}

TEST(DataManagerProxy, TriesFilesAndOwnsItsObjects) {
    FakeProxy proxy;
    FakeReader::destroyed = 0;
    struct {
        char const* name;
        bool canRead;
    } const cases[] = {{"roads", true}, {"bad", false}, {"empty", false}};
    for (auto const& test : cases) {
        BString name(test.name);
        EXPECT_EQ(proxy.CanRead(name, BParamList()), test.canRead) << test.name;
    }
    EXPECT_EQ(FakeReader::destroyed, 3);
    BCoordSysRepository repository;
    BLogger logger;
    BDataReader* const reader = proxy.CreateReader("roads", BParamList(), &repository, &logger);
    EXPECT_EQ(reader->GetRepository(), &repository);
    EXPECT_EQ(reader->GetLogger(), &logger);
    proxy.DestroyObject(reader);
    EXPECT_EQ(FakeReader::destroyed, 4);
    EXPECT_FALSE(proxy.CanWrite("FAKE"));
    EXPECT_FALSE(proxy.CanWrite("FAKE", BParamList()));
    EXPECT_BEXCEPTION(proxy.CreateWriter("roads", BParamList(), nullptr, nullptr),
                      BUnsupportedCapabilityException, "BDataManagerProxy::CreateWriter",
                      "No writer can be made for roads");
}

TEST(DataManagerProxy, NamesTemporaryCopiesAfterTheInput) {
    FakeProxy proxy;
    std::vector<BString> names;
    BString const first = proxy.MakeTempInputFileName("/data/roads.shp", names);
    BString const second = proxy.MakeTempInputFileName("/data/roads.shp", names);
    EXPECT_FALSE(first == second);
    ASSERT_EQ(names.size(), 2U);
    EXPECT_TRUE(names[0] == first && names[1] == second);
    std::string const text = first.Ascii();
    EXPECT_EQ(text.substr(text.size() - 9), "roads.shp");
    EXPECT_FALSE(std::filesystem::exists(text));
    EXPECT_TRUE(std::filesystem::exists(std::filesystem::path(text).parent_path()));
}

} // namespace
} // namespace Ambrel::Test
