#include "ShpReader/BShpProxy.h"
#include "ShpSupport.h"

namespace Ambrel::Test {

namespace {

/// Notes what it is asked, and ends the read at a record.
class Observer final : public BProgress {
public:
    bool WantsReport(std::uint32_t done, std::uint32_t total) override {
        calls.push_back("wants " + std::to_string(done) + " " + std::to_string(total));
        return wants;
    }
    bool Report(std::uint32_t done, std::uint32_t total) override {
        calls.push_back("report " + std::to_string(done) + " " + std::to_string(total));
        return done != lastRecord;
    }

    bool wants = true;
    std::uint32_t lastRecord = 0xFFFFFFFF;
    Texts calls;
};

ShapefileBuilder Points(int count) {
    ShapefileBuilder builder(1);
    for (int i = 0; i < count; ++i) {
        builder.Point(i, i);
    }
    return builder;
}

TEST(ReaderTest, ProxyMakesReadersOfItsFormat) {
    BShpProxy proxy;
    EXPECT_TRUE(proxy.SupportsFormat(DS_SHP));
    EXPECT_FALSE(proxy.SupportsFormat("shp"));
    EXPECT_FALSE(proxy.CanWrite(DS_SHP));
    BCoordSysRepository repository;
    BParamList params;
    params.Add(OPTION_DISK_CACHE, true);
    std::unique_ptr<BDataReader> const reader(
        proxy.CreateReader("x", params, &repository, BLogger::Instance()));
    EXPECT_FALSE(reader->IsOpen());
    EXPECT_EQ(reader->GetStatus(), 4615U);
    EXPECT_EQ(reader->GetFormat(), DS_SHP);
    EXPECT_TRUE(reader->UsingDiskCache());
    EXPECT_EQ(reader->GetRepository(), &repository);
    EXPECT_TRUE(reader->CanQuery(QUERY_DATA_EXTENTS));
    EXPECT_FALSE(reader->CanQuery("else"));
}

TEST(ReaderTest, WritesItsStepsToTheLog) {
    TemporaryFolder const folder;
    BString const path = Points(1).WriteTo(folder, "a");
    std::string const full = path.Ascii();
    std::string const table = full.substr(0, full.size() - 3) + "dbf";
    LogCapture const log;
    auto reader = MakeReader();
    reader->Open(path, BParamList());
    reader->Read();
    reader->Close();
    reader->Open(path, BParamList());
    reader.reset();
    std::vector<LogLine> const open = {{LOG_PROGRESS, "SHP-Reader: Opening " + full + "..."},
                                       {LOG_PROGRESS, "DBF-File: Opening DBF file <" + table + ">"},
                                       {LOG_PROGRESS, "DBF-File: Reading schema..."},
                                       {LOG_DETAIL, "SHP-Reader: Features in memory"},
                                       {LOG_PROGRESS, "DBF-File: Reading schema..."},
                                       {LOG_DETAIL, "SHP-Reader: Added layer: a"},
                                       {LOG_PROGRESS, "SHP-Reader: Open() succeeded"}};
    std::vector<LogLine> expected = open;
    expected.push_back({LOG_PROGRESS, "SHP-Reader: Reading file..."});
    expected.push_back({LOG_PROGRESS, "SHP-Reader: File read successfully..."});
    expected.push_back({LOG_PROGRESS, "SHP-Reader: Closing..."});
    expected.insert(expected.end(), open.begin(), open.end());
    expected.push_back({LOG_PROGRESS, "SHP-Reader: Closing..."});
    EXPECT_EQ(log.Lines(), expected);
}

TEST(ReaderTest, HoldsFeaturesWhereTheHostWants) {
    TemporaryFolder const folder;
    BString const path =
        ShapefileBuilder(5)
            .Polygon({{{0, 0}, {0, 9}, {9, 9}, {0, 0}}, {{1, 2}, {2, 3}, {1, 3}, {1, 2}}})
            .Null()
            .Point(3, 4)
            .WriteTo(folder, "a");
    Texts const expected = {"donut{polygon[0 0,0 9,9 9,0 0] polygon[1 2,2 3,1 3,1 2]}", "none",
                            "point[3 4]"};
    struct ModeCase {
        BString option;
        char const* line;
        std::uint64_t countBeforeRead;
    };
    ModeCase const cases[] = {
        {BString(), "SHP-Reader: Features in memory", 0},
        {OPTION_DISK_CACHE, "SHP-Reader: Features in disk cache", 0},
        {OPTION_DIRECT_ACCESS, "SHP-Reader: Using direct access features", 3},
    };
    for (ModeCase const& c : cases) {
        SCOPED_TRACE(c.line);
        LogCapture const log;
        auto const reader = MakeReader(c.option);
        reader->Open(path, BParamList());
        BFeatureCollection const& features = LayerOf(*reader).GetFeatures();
        EXPECT_EQ(features.GetCount(), c.countBeforeRead);
        reader->Read();
        reader->Read(); // Refills, does not add.
        EXPECT_EQ(log.Count(LOG_DETAIL, c.line), 1U);
        EXPECT_EQ(TextsOf(features), expected);
        EXPECT_EQ(features.GetAt(2)->attributes.GetAt(0).GetValue().GetValueAsInteger(0), 3);
    }
    BParamList both;
    both.Add(OPTION_DIRECT_ACCESS, true);
    both.Add(OPTION_DISK_CACHE, true);
    LogCapture const log;
    BShpReader(both).Open(path, BParamList());
    EXPECT_EQ(log.Count(LOG_DETAIL, "SHP-Reader: Using direct access features"), 1U);
}

TEST(ReaderTest, ReadsAttributesUnlessTold) {
    TemporaryFolder const folder;
    BString const path = Points(1).WriteTo(folder, "a");
    struct OptionCase {
        std::optional<BVariant> value;
        std::uint64_t attributes;
    };
    // Present but no boolean counts as false.
    OptionCase const cases[] = {
        {std::nullopt, 1}, {BVariant(true), 1}, {BVariant(false), 0}, {BVariant("maybe"), 0}};
    for (OptionCase const& c : cases) {
        BParamList params;
        if (c.value) {
            params.Add("USE_ATTRIBUTES", *c.value);
        }
        auto const reader = MakeReader();
        reader->Open(path, params);
        reader->Read();
        EXPECT_EQ(LayerOf(*reader).GetFeatures().GetAt(0)->attributes.GetCount(), c.attributes);
    }
    BParamList params;
    params.SetValue("USE_ATTRIBUTE_Z", BString("id"));
    auto const reader = MakeReader();
    reader->Open(path, params);
    reader->Read();
    EXPECT_EQ(TextOf(*LayerOf(*reader).GetFeatures().GetAt(0)), "point Z[0 0 1]");
}

TEST(ReaderTest, MakesALayerForEachFile) {
    TemporaryFolder const folder;
    Points(1).Extent(0, 0, 1, 1).WriteTo(folder, "b");
    Points(2).Extent(5, -5, 6, 0).WriteTo(folder, "a");
    Points(3).WithoutTable().WriteTo(folder, "c");
    BString const name = BString(folder.Path().c_str());
    auto const reader = MakeReader();
    EXPECT_BEXCEPTION(reader->Open(name, BParamList()), BFileNotFoundException, "BShpFile::Open",
                      folder.File("c.dbf"));
    EXPECT_FALSE(reader->IsOpen());
    EXPECT_EQ(reader->GetLayers().GetCount(), 2U);
    std::filesystem::remove(folder.Path() / "c.shp");
    reader->Open(name, BParamList());
    reader->Read(); // What the failed Open has left fills no layer.
    EXPECT_EQ(LayerOf(*reader, 1).GetFeatures().GetCount(), 1U);
    EXPECT_EQ(LayerOf(*reader, 0).name, BString("a"));
    EXPECT_EQ(LayerOf(*reader, 1).name, BString("b"));
    EXPECT_EQ(TextOf(BDataManager::ExtentsOf(reader->QueryInfo(QUERY_DATA_EXTENTS))), "0 -5 6 1");
    EXPECT_BEXCEPTION(reader->Open(name, BParamList()), BAlreadyOpenException,
                      "BVectorDataReader::Open", name);
}

TEST(ReaderTest, OpensAnEmptyFolder) {
    TemporaryFolder const folder;
    auto const reader = MakeReader();
    reader->Open(BString(folder.Path().c_str()), BParamList());
    EXPECT_TRUE(reader->IsOpen());
    EXPECT_EQ(TextOf(BDataManager::ExtentsOf(reader->QueryInfo(QUERY_DATA_EXTENTS))), "empty");
}

TEST(ReaderTest, RefusesToAnswerUnopened) {
    auto const reader = MakeReader();
    EXPECT_BEXCEPTION(reader->Read(), BNotOpenException, "BShpReader::Read",
                      "Must call Open() before calling Read()");
    EXPECT_BEXCEPTION(reader->QueryInfo("what"), BUnsupportedCapabilityException,
                      "BShpReader::QueryInfo", "Query=what");
    EXPECT_BEXCEPTION(reader->QueryInfo(QUERY_DATA_EXTENTS), BNotOpenException,
                      "BShpReader::QueryInfo", QUERY_DATA_EXTENTS);
}

TEST(ReaderTest, AsksTheObserverAfterEveryRecord) {
    TemporaryFolder const folder;
    auto const reader = MakeReader();
    reader->Open(Points(3).WriteTo(folder, "a"), BParamList());
    Observer observer;
    reader->SetProgress(&observer);
    observer.wants = false; // Wanting no report does not end the read.
    reader->Read();
    EXPECT_EQ(observer.calls, (Texts{"wants 0 0", "wants 1 0", "wants 2 0"}));
    EXPECT_EQ(LayerOf(*reader).GetFeatures().GetCount(), 3U);
}

TEST(ReaderTest, CancelsAtTheRecordThatTheObserverRefuses) {
    TemporaryFolder const folder;
    Points(2).WriteTo(folder, "a");
    Points(5).WriteTo(folder, "b");
    Points(9).WriteTo(folder, "c");
    auto const reader = MakeReader();
    reader->Open(BString(folder.Path().c_str()), BParamList());
    BLayers const layers = reader->GetLayers();
    Observer observer;
    observer.lastRecord = 3;
    reader->SetProgress(&observer);
    LogCapture const log;
    reader->Read();
    EXPECT_EQ(reader->GetReadResult(), 3);
    EXPECT_EQ(reader->GetLayers().GetCount(), 0U);
    EXPECT_EQ(log.Count(LOG_PROGRESS, "SHP-Reader: File read successfully..."), 1U);
    Texts const tail(observer.calls.end() - 3, observer.calls.end());
    EXPECT_EQ(tail, (Texts{"wants 3 0", "report 3 5", "report 5 5"}));
    auto const countOf = [&](std::uint64_t i) {
        return static_cast<BVectorLayer&>(*layers.GetAt(i)).GetFeatures().GetCount();
    };
    EXPECT_EQ(countOf(1), 4U);
    EXPECT_EQ(countOf(2), 0U);
    reader->Read(); // There are no layers to fill.
    EXPECT_EQ(reader->GetReadResult(), 0);
}

TEST(ReaderTest, CancelsDirectAccessAtTheFirstReport) {
    TemporaryFolder const folder;
    auto const reader = MakeReader(OPTION_DIRECT_ACCESS);
    reader->Open(Points(2).WriteTo(folder, "a"), BParamList());
    Observer observer;
    observer.lastRecord = 1;
    reader->SetProgress(&observer);
    reader->Read();
    EXPECT_EQ(reader->GetReadResult(), 3);
    EXPECT_EQ(reader->GetLayers().GetCount(), 0U);
    EXPECT_EQ(observer.calls, Texts{"report 1 1"});
}

TEST(ReaderTest, StopsAtARecordThatCanNotBeDecoded) {
    TemporaryFolder const folder;
    auto const reader = MakeReader();
    reader->Open(Points(3).Raw(ByteList().Little32(31)).Point(9, 9).WriteTo(folder, "a"),
                 BParamList());
    EXPECT_BEXCEPTION(reader->Read(), BUnknownGeometryException, "BShpFile::Read",
                      "Multipatch geometry is not supported.");
    EXPECT_EQ(LayerOf(*reader).GetFeatures().GetCount(), 3U);
    EXPECT_TRUE(reader->IsOpen());
}

TEST(ReaderTest, StopsWhereTheTableEnds) {
    TemporaryFolder const folder;
    auto const reader = MakeReader();
    reader->Open(Points(3).Field("a", 'C', 2).Row({"x"}).Row({"y"}).WriteTo(folder, "a"),
                 BParamList());
    EXPECT_BEXCEPTION(reader->Read(), BIndexOutOfBoundsException, "BDbfFile::ReadAttributeRecord",
                      "SHP/DBF data mismatch (Index=2, NumRecords=2)");
    EXPECT_EQ(LayerOf(*reader).GetFeatures().GetCount(), 2U);
}

/// A feature collection without room.
class FullCollection final : public BFeatureCollection {
public:
    std::uint64_t GetCount() const override { return 0; }
    void Clear() override {}
    void Reserve(std::uint64_t) override { throw std::bad_alloc(); }
};

TEST(ReaderTest, LetsTheFilesGoWhenMemoryRunsOut) {
    TemporaryFolder const folder;
    auto const reader = MakeReader();
    reader->Open(Points(1).WriteTo(folder, "a"), BParamList());
    LayerOf(*reader).SetFeaturesPtr(new FullCollection);
    EXPECT_BEXCEPTION(reader->Read(), BResourceException, "BShpReader::Read",
                      std::bad_alloc().what());
    EXPECT_EQ(reader->GetStatus(), 2U);
    EXPECT_TRUE(reader->IsOpen());
    EXPECT_EQ(TextOf(BDataManager::ExtentsOf(reader->QueryInfo(QUERY_DATA_EXTENTS))), "empty");
    reader->ResetStatus();
    EXPECT_EQ(reader->GetStatus(), 4615U);
}

} // namespace

} // namespace Ambrel::Test
