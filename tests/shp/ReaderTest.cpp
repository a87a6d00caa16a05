#include "ShpReader/BShpProxy.h"
#include "ShpSupport.h"

#include <functional>
#include <utility>

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

/// Does something in the middle of a read, once.
class MeddlingObserver final : public BProgress {
public:
    explicit MeddlingObserver(std::function<void()> newMeddle) : meddle(std::move(newMeddle)) {}
    bool WantsReport(std::uint32_t, std::uint32_t) override { return true; }
    bool Report(std::uint32_t, std::uint32_t) override {
        std::exchange(meddle, [] {})();
        return true;
    }

private:
    std::function<void()> meddle;
};

class ReaderTest : public testing::Test {
protected:
    /// Opens what a file, or else the folder, holds.
    void Open(ShapefileBuilder const& builder, BString const& option = BString()) {
        OpenFile(builder.WriteTo(folder, "a"), option);
    }
    void OpenFile(BString const& path, BString const& option = BString()) {
        reader = MakeReader(option);
        reader->Open(path, BParamList());
    }

    BFeatureCollection const& Features(std::uint64_t layer = 0) const {
        return LayerOf(*reader, layer).GetFeatures();
    }
    std::string Extents() const {
        return TextOf(BDataManager::ExtentsOf(reader->QueryInfo(QUERY_DATA_EXTENTS)));
    }

    TemporaryFolder const folder;
    BString const folderPath{folder.Path().c_str()};
    std::unique_ptr<BShpReader> reader = MakeReader();
};

TEST_F(ReaderTest, ProxyMakesReadersOfItsFormatAndKnowsWhatTheyOpen) {
    BShpProxy proxy;
    EXPECT_TRUE(proxy.SupportsFormat(DS_SHP));
    EXPECT_FALSE(proxy.SupportsFormat("shp") || proxy.CanWrite(DS_SHP));
    BParamList const params = Options({{OPTION_DISK_CACHE, true}});
    BCoordSysRepository repository;
    std::unique_ptr<BDataReader> const made(
        proxy.CreateReader("x", params, &repository, BLogger::Instance()));
    EXPECT_TRUE(made->GetFormat() == DS_SHP && made->UsingDiskCache());
    EXPECT_TRUE(made->GetRepository() == &repository && made->GetLogger() == BLogger::Instance());
    EXPECT_BEXCEPTION(proxy.CreateWriter("x", params, nullptr, nullptr),
                      BUnsupportedCapabilityException, "BDataManagerProxy::CreateWriter",
                      "No writer can be made for x");
    BString sound = Diagonal(1).WriteTo(folder, "a");
    BString missing = folder.File("b.shp");
    BString wildcard = folder.File("b*");
    EXPECT_TRUE(proxy.CanRead(sound, BParamList()));
    EXPECT_FALSE(proxy.CanRead(missing, BParamList()));
    EXPECT_FALSE(proxy.CanRead(wildcard, BParamList())) << "which is no file";
    WriteFile(folder.Path() / "lonely.shx", ReadFile(folder.Path() / "a.shx"));
    for (auto const& [name, isRead] :
         {std::pair{"a.shx", true}, {"a.dbf", true}, {"lonely.shx", false}}) {
        BString path = folder.File(name);
        EXPECT_EQ(proxy.CanRead(path, BParamList()), isRead) << name;
    }
    BShpReader reader(params);
    reader.Open(folder.File("a.shx"), BParamList());
    EXPECT_NO_THROW(reader.Read());
}

TEST_F(ReaderTest, ProxyNamesTemporaryCopiesAfterTheInput) {
    BShpProxy proxy;
    std::vector<BString> names;
    BString const first = proxy.MakeTempInputFileName("/data/roads.shp", names);
    BString const second = proxy.MakeTempInputFileName("/data/roads.shp", names);
    EXPECT_FALSE(first == second);
    EXPECT_EQ(names, (std::vector<BString>{first, second}));
    std::filesystem::path const path = first.Ascii();
    EXPECT_TRUE(path.string().ends_with("roads.shp")) << path;
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_TRUE(std::filesystem::exists(path.parent_path()));
}

TEST_F(ReaderTest, TellsItsBoxAndWhereTheDiskCacheIs) {
    BParamList const options = Options({{OPTION_DISK_CACHE, true},
                                        {OPTION_DISK_CACHE_BASE_NAME, folder.File("cache")},
                                        {OPTION_DISK_CACHE_PAGE_SIZE, 1}});
    BShpReader cached(options);
    EXPECT_TRUE(cached.GetMBR().IsEmpty()); // not open: there is no answer
    cached.Open(ShapefileBuilder(11).Point(1, 2, 5).Point(3, 4, 9).WriteTo(folder, "a"), options);
    cached.Read();
    EXPECT_EQ(TextOf(cached.GetMBB()), "1 2 3 4");
    EXPECT_EQ(cached.GetMBB().zMin + cached.GetMBB().zMax, 5 + 9);
    // Pages of one feature are written at once.
    EXPECT_EQ(BFileUtilities::ListFiles(folder.File("cache-*"), ".cache").size(), 1U);
    EXPECT_TRUE(BDataManager::ExtentsOf(Options({{"XMin", 1.0}})).IsEmpty()); // not complete
}

TEST_F(ReaderTest, WritesItsStepsToTheLog) {
    std::string const file = folder.Path() / "a";
    LogCapture const log;
    Open(Diagonal(1));
    reader->Read();
    reader.reset();
    EXPECT_EQ(log.Lines(),
              (LogLines{{LOG_PROGRESS, "SHP-Reader: Opening " + file + ".shp..."},
                        {LOG_PROGRESS, "DBF-File: Opening DBF file <" + file + ".dbf>"},
                        {LOG_PROGRESS, "DBF-File: Reading schema..."},
                        {LOG_DETAIL, "SHP-Reader: Features in memory"},
                        {LOG_PROGRESS, "DBF-File: Reading schema..."},
                        {LOG_DETAIL, "SHP-Reader: Added layer: a"},
                        {LOG_PROGRESS, "SHP-Reader: Open() succeeded"},
                        {LOG_PROGRESS, "SHP-Reader: Reading file..."},
                        {LOG_PROGRESS, "SHP-Reader: File read successfully..."},
                        {LOG_PROGRESS, "SHP-Reader: Closing..."}}));
}

TEST_F(ReaderTest, HoldsFeaturesWhereTheHostWants) {
    Vertices const shell = {{0, 0}, {0, 9}, {9, 9}, {0, 0}};
    Vertices const hole = {{1, 2}, {2, 3}, {1, 3}, {1, 2}};
    Texts const expected = {"donut{polygon[0 0,0 9,9 9,0 0] polygon[1 2,2 3,1 3,1 2]}", "none",
                            "point[3 4]"};
    for (auto const& [option, place, countBeforeRead] :
         {std::tuple{BString(), "Features in memory", 0U},
          {OPTION_DISK_CACHE, "Features in disk cache", 0U},
          {OPTION_DIRECT_ACCESS, "Using direct access features", 3U}}) {
        LogCapture const log;
        Open(ShapefileBuilder(5).Polygon({shell, hole}).Null().Point(3, 4), option);
        EXPECT_EQ(log.Count(LOG_DETAIL, std::string("SHP-Reader: ") + place), 1U) << place;
        EXPECT_EQ(Features().GetCount(), countBeforeRead);
        reader->Read();
        reader->Read(); // Refills, does not add.
        EXPECT_EQ(TextsOf(Features()), expected);
        EXPECT_EQ(Features().GetAt(2)->attributes.GetAt(0).GetValue(), BVariant(3));
    }
    BParamList const both = Options({{OPTION_DIRECT_ACCESS, true}, {OPTION_DISK_CACHE, true}});
    LogCapture const log;
    BShpReader(both).Open(folder.File("a.shp"), BParamList());
    EXPECT_EQ(log.Count(LOG_DETAIL, "SHP-Reader: Using direct access features"), 1U);
}

TEST_F(ReaderTest, ReadsAttributesUnlessTold) {
    BString const path = Diagonal(1).WriteTo(folder, "a");
    // Present but no boolean counts as false.
    for (auto const& [name, value, attributes, geometry] :
         {std::tuple{"ELSE", BVariant(false), 1U, "point[0 0]"},
          {"USE_ATTRIBUTES", BVariant(true), 1U, "point[0 0]"},
          {"USE_ATTRIBUTES", BVariant(false), 0U, "point[0 0]"},
          {"USE_ATTRIBUTES", BVariant("maybe"), 0U, "point[0 0]"},
          {"USE_ATTRIBUTE_Z", BVariant("id"), 1U, "point Z[0 0 1]"}}) {
        reader = MakeReader();
        reader->Open(path, Options({{name, value}}));
        reader->Read();
        EXPECT_EQ(Features().GetAt(0)->attributes.GetCount(), attributes) << name;
        EXPECT_EQ(TextsOf(Features()), Texts{geometry});
    }
}

TEST_F(ReaderTest, ReadsTheWantedFieldsAndTheOneThatGivesZ) {
    TableBuilder table;
    table.Field("NAME", 'C', 4).Field("HEIGHT", 'N', 3).Field("MORE", 'C', 4);
    BString const path = Diagonal(1).Table(table.Row({"Oslo", "23", "more"})).WriteTo(folder, "a");
    BString const wanted[] = {"MORE", "none such"};
    reader->Open(path, Options({{"FIELDS", BVariant(wanted, 2)}, {"USE_ATTRIBUTE_Z", "HEIGHT"}}));
    reader->Read();
    EXPECT_EQ(LayerOf(*reader).GetSchema().GetCount(), 2U);
    BAttributes const& attributes = Features().GetAt(0)->attributes;
    ASSERT_EQ(attributes.GetCount(), 2U);
    EXPECT_STREQ(attributes.GetAt(1).GetValue().GetValueAsString("").Ascii(), "more");
    EXPECT_EQ(TextsOf(Features()), Texts{"point Z[0 0 23]"});
}

TEST_F(ReaderTest, MakesALayerForEachFile) {
    Diagonal(1).Extent(0, 0, 1, 1).WriteTo(folder, "c");
    Diagonal(2).Extent(5, -5, 6, 0).WriteTo(folder, "a");
    Diagonal(3).Without(".dbf").WriteTo(folder, "b");
    EXPECT_BEXCEPTION(reader->Open(folderPath, BParamList()), BFileNotFoundException,
                      "BShpFile::Open", folder.File("b.dbf"));
    EXPECT_FALSE(reader->IsOpen());
    EXPECT_EQ(reader->GetLayers().GetCount(), 1U);
    std::filesystem::remove(folder.Path() / "b.shp");
    reader->Open(folderPath, BParamList());
    reader->Read(); // What the failed Open has left fills no layer.
    EXPECT_EQ(Features(1).GetCount(), 1U);
    EXPECT_EQ(LayerOf(*reader, 0).name, BString("a"));
    EXPECT_EQ(LayerOf(*reader, 1).name, BString("c"));
    EXPECT_EQ(Extents(), "0 -5 6 1");
    EXPECT_BEXCEPTION(reader->Open(folderPath, BParamList()), BAlreadyOpenException,
                      "BVectorDataReader::Open", folderPath);
    reader->Close();
    EXPECT_NO_THROW(reader->Open(folderPath, BParamList()));
}

TEST_F(ReaderTest, RefusesToAnswerUnopened) {
    EXPECT_BEXCEPTION(reader->Read(), BNotOpenException, "BShpReader::Read",
                      "Must call Open() before calling Read()");
    EXPECT_BEXCEPTION(reader->QueryInfo("what"), BUnsupportedCapabilityException,
                      "BShpReader::QueryInfo", "Query=what");
    EXPECT_BEXCEPTION(reader->QueryInfo(QUERY_DATA_EXTENTS), BNotOpenException,
                      "BShpReader::QueryInfo", QUERY_DATA_EXTENTS);
    reader->Open(folderPath, BParamList()); // which is empty
    EXPECT_TRUE(reader->IsOpen());
    EXPECT_EQ(Extents(), "empty");
}

TEST_F(ReaderTest, CancelsAtTheRecordThatTheObserverRefuses) {
    Diagonal(2).WriteTo(folder, "a");
    Diagonal(5).WriteTo(folder, "b");
    Diagonal(9).WriteTo(folder, "c");
    OpenFile(folderPath);
    BLayers const layers = reader->GetLayers();
    Observer observer;
    observer.lastRecord = 3;
    reader->SetProgress(&observer);
    LogCapture const log;
    reader->Read();
    EXPECT_EQ(reader->GetReadResult(), 3);
    EXPECT_EQ(reader->GetLayers().GetCount(), 0U);
    EXPECT_EQ(log.Count(LOG_PROGRESS, "SHP-Reader: File read successfully..."), 1U);
    EXPECT_EQ(observer.calls,
              (Texts{"wants 0 0", "report 0 2", "wants 1 0", "report 1 2", "wants 0 0",
                     "report 0 5", "wants 1 0", "report 1 5", "wants 2 0", "report 2 5",
                     "wants 3 0", "report 3 5", "report 5 5"}));
    auto const countOf = [&](std::uint64_t i) {
        return static_cast<BVectorLayer&>(*layers.GetAt(i)).GetFeatures().GetCount();
    };
    EXPECT_EQ(countOf(1), 4U);
    EXPECT_EQ(countOf(2), 0U);
    reader->Read(); // There are no layers to fill.
    EXPECT_EQ(reader->GetReadResult(), 0);
}

TEST_F(ReaderTest, SurvivesAnObserverThatChangesWhatIsRead) {
    Diagonal(3).WriteTo(folder, "a");
    Diagonal(3).WriteTo(folder, "b");
    auto const replace = [&] { LayerOf(*reader, 0).SetFeaturesPtr(new BMemoryFeatureCollection); };
    auto const reopen = [&] {
        reader->Close();
        reader->Open(folderPath, BParamList());
    };
    std::tuple<std::function<void()>, std::uint64_t, std::uint64_t> const cases[] = {
        {[] {}, 3, 3}, {[&] { reader->Close(); }, 3, 0}, {replace, 2, 3}, {reopen, 0, 0}};
    for (auto const& [meddle, inFirst, inSecond] : cases) {
        OpenFile(folderPath);
        MeddlingObserver observer(meddle);
        reader->SetProgress(&observer);
        reader->Read();
        EXPECT_EQ(reader->GetReadResult(), 0);
        EXPECT_EQ(Features(0).GetCount(), inFirst);
        EXPECT_EQ(Features(1).GetCount(), inSecond);
    }
}

TEST_F(ReaderTest, GoesOnWhereNoReportIsWantedAndCancelsDirectAccessAtTheFirst) {
    Observer observer;
    observer.wants = false;
    observer.lastRecord = 1;
    Open(Diagonal(2));
    reader->SetProgress(&observer);
    reader->Read();
    EXPECT_EQ(Features().GetCount(), 2U);
    Open(Diagonal(2), OPTION_DIRECT_ACCESS);
    reader->SetProgress(&observer);
    reader->Read();
    EXPECT_EQ(reader->GetReadResult(), 3);
    EXPECT_EQ(reader->GetLayers().GetCount(), 0U);
    EXPECT_EQ(observer.calls, (Texts{"wants 0 0", "wants 1 0", "report 1 1"}));
}

TEST_F(ReaderTest, StopsAtARecordThatCanNotBeRead) {
    Open(Diagonal(3).Raw(ByteList().Little32(31)).Point(9, 9));
    EXPECT_BEXCEPTION(reader->Read(), BUnknownGeometryException, "BShpFile::Read",
                      "Multipatch geometry is not supported.");
    EXPECT_EQ(Features().GetCount(), 3U);
    EXPECT_TRUE(reader->IsOpen());
    Open(Diagonal(3).Field("a", 'C', 2).Row({"x"}).Row({"y"}));
    EXPECT_BEXCEPTION(reader->Read(), BIndexOutOfBoundsException, "BDbfFile::ReadAttributeRecord",
                      "SHP/DBF data mismatch (Index=2, NumRecords=2)");
    EXPECT_EQ(Features().GetCount(), 2U);
}

} // namespace

} // namespace Ambrel::Test
