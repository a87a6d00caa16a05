#include "ShpSupport.h"

#include <QFile>

#include <limits>

namespace Ambrel::Test {

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

TEST(OpeningTest, TakesZAndMeasuresFromTheHeader) {
    struct HeaderCase {
        char const* what;
        std::int32_t type;
        double mMin;
        double mMax;
        bool hasZ;
        bool hasMeasures;
    };
    HeaderCase const cases[] = {
        {"type without either", 1, 1, 2, false, false},
        {"range of zeros", 15, 0, 0, true, false},
        {"no data below", 23, -1e39, 5, false, false},
        {"no data above", 13, 0, -1.1e38, true, false},
        {"no data's bound itself", 28, -1e38, 5, false, true},
        {"usable", 23, 0, 5, false, true},
        {"NaN counts as a bound", 18, notANumber, 0, true, true},
        {"multipatch", 31, 1, 2, false, false},
    };
    for (HeaderCase const& c : cases) {
        SCOPED_TRACE(c.what);
        OpenShapefile const file(
            ShapefileBuilder(c.type).ZRange(-3, 7).MRange(c.mMin, c.mMax).Extent(1, 2, 3, 4));
        EXPECT_EQ(file->HasZ(), c.hasZ);
        EXPECT_EQ(file->HasMeasures(), c.hasMeasures);
        EXPECT_EQ(file->GetMinZ(), c.hasZ ? -3 : std::numeric_limits<double>::max());
        EXPECT_EQ(file->GetMBB().zMax, c.hasZ ? 7 : BBox().zMax);
        EXPECT_EQ(file->GetMaxMeasure(),
                  c.hasMeasures ? c.mMax : std::numeric_limits<double>::lowest());
        EXPECT_EQ(TextOf(static_cast<BRect const&>(file->GetExtent())), "1 2 3 4");
    }
}

TEST(OpeningTest, CountsRecordsByTheSizeOfTheIndex) {
    for (auto const& [size, count] : {std::pair{0U, 0U}, {99U, 0U}, {107U, 0U}, {108U, 1U}}) {
        OpenShapefile const file(Diagonal(1).FileLength(0).CutIndex(size));
        EXPECT_EQ(file->GetRecordCount(), count) << size;
    }
}

TEST(OpeningTest, NeverLooksAtTheHeaderOfTheIndex) {
    TemporaryFolder const folder;
    BString const path = Diagonal(1).WriteTo(folder, "a");
    Bytes index = ReadFile(folder.Path() / "a.shx");
    std::fill_n(index.begin(), 100, std::uint8_t{0xEE});
    WriteFile(folder.Path() / "a.shx", index);
    BShpFile file;
    file.Open(path, BShpFile::readMode, true, "");
    file.LoadIndex();
    EXPECT_EQ(TextOf(*file.ReadFeature(0, true)), "point[0 0]");
}

/// The checks run in a fixed order, so each broken file is reported for its first fault.
TEST(OpeningTest, RefusesWithTheFileAtFault) {
    TemporaryFolder const folder;
    auto const open = [&](BString const& path) { BShpFile().Open(path, 1, true, ""); };
    ShapefileBuilder const badHeaders[] = {
        ShapefileBuilder(1).FileCode(9993),
        ShapefileBuilder(1).Version(999).WithoutIndex(),
        ShapefileBuilder(1).CutMainFile(99).WithoutTable(),
        ShapefileBuilder(1).CutMainFile(0),
    };
    for (ShapefileBuilder const& bad : badHeaders) {
        BString const path = bad.WriteTo(folder, "bad");
        EXPECT_BEXCEPTION(open(path), BFileContentNotValidException, "BShpFile::GetHeader", path);
    }
    ShapefileBuilder const withoutTable = ShapefileBuilder(1).WithoutTable();
    ShapefileBuilder(withoutTable).WithoutIndex().WriteTo(folder, "none");
    withoutTable.WriteTo(folder, "table");
    struct Missing {
        char const* opened;
        char const* missing;
    };
    for (Missing const& c : {Missing{"nothing.shp", "nothing.shp"},
                             {"none.shp", "none.shx"},
                             {"table.shp", "table.dbf"}}) {
        EXPECT_BEXCEPTION(open(folder.File(c.opened)), BFileNotFoundException, "BShpFile::Open",
                          folder.File(c.missing));
    }
}

TEST(OpeningTest, FindsCompanionsWhateverTheirLetterCase) {
    TemporaryFolder const folder;
    Diagonal(1).WriteTo(folder, "roads");
    std::filesystem::rename(folder.Path() / "roads.shp", folder.Path() / "roads.SHP");
    std::filesystem::rename(folder.Path() / "roads.dbf", folder.Path() / "roads.DBF");
    BShpFile file;
    file.Open(folder.File("roads.SHP"), 1, true, "");
    EXPECT_EQ(file.GetRecordCount(), 1U);
}

TEST(OpeningTest, OpensWithoutACoordinateSystemThatNobodyCanParse) {
    LogCapture const log;
    OpenShapefile const file(ShapefileBuilder(1).Prj("nonsense"));
    EXPECT_FALSE(file->GetCoordSys());
    EXPECT_EQ(log.TextsOf(LOG_WARNING), Texts{"SHP-Reader: Failed to load coordinate system"});
}

TEST(OpeningTest, OpensOnce) {
    OpenShapefile const file(Diagonal(1));
    std::filesystem::remove(file.path.Ascii());
    EXPECT_NO_THROW(file->Open(file.path, BShpFile::readMode, true, ""));
    EXPECT_BEXCEPTION(file->Open("other.shp", BShpFile::writeMode, true, ""), BAlreadyOpenException,
                      "BShpFile::Open", "other.shp");
}

/// A failed Open keeps the mode that was asked for; what comes after must not trip over it.
TEST(OpeningTest, StaysHarmlessAfterAFailedOpen) {
    TemporaryFolder const folder;
    BString const path = Diagonal(1).WithoutTable().WriteTo(folder, "a");
    BSharedPtr<BVectorLayer> layer = MakeLayer();
    BShpFile file;
    EXPECT_THROW(file.Open(path, 1, true, ""), BFileNotFoundException);
    EXPECT_NO_THROW(file.Open(path, 1, true, ""));
    EXPECT_BEXCEPTION(file.Open(path, 2, true, ""), BAlreadyOpenException, "BShpFile::Open", path);
    EXPECT_THROW(file.SetUpLayer(layer), BNotOpenException);
    EXPECT_THROW(file.Read(layer), BNotOpenException);
    EXPECT_THROW(file.ReadFeature(0, true), BNotOpenException);

    EXPECT_THROW(BShpFile().SetUpLayer(layer), BNotOpenException);
    BShpFile missing;
    EXPECT_THROW(missing.Open(folder.File("none.shp"), 1, true, ""), BFileNotFoundException);
    EXPECT_EQ(missing.Read(layer), 0);
    EXPECT_THROW(missing.ReadFeature(0, true), BIndexOutOfBoundsException);
}

TEST(OpeningTest, OperationsNeedAFileThatIsOpenInTheirMode) {
    TemporaryFolder const folder;
    OpenShapefile const read(Diagonal(1));
    BShpFile closed;
    BShpFile written;
    written.Open(folder.File("a.shp"), BShpFile::writeMode, true, "");
    BSharedPtr<BFeature> const feature(new BFeature);
    BParamList const none;
    QFile handle;
    Indexes result;
    auto const refuse = [&](char const* operation, auto action) {
        EXPECT_BEXCEPTION(action(), BReadWriteMismatchException, operation, "");
    };
    constexpr char readFeature[] = "BShpFile::ReadFeature";
    refuse(readFeature, [&] { closed.GetFeatureMBRAt(0); });
    refuse(readFeature, [&] { closed.ReadFeature(0, true); });
    refuse(readFeature, [&] { closed.HasFeaturesInArea(BRect(), none); });
    refuse(readFeature, [&] { closed.SelectFeatures(BRect(), none, result); });
    refuse("BShpFile::RenderFeatures", [&] { closed.RenderFeatures({}, nullptr); });
    refuse("BShpFile::Read", [&] { closed.Read(MakeLayer()); });
    refuse("BShpFile::Read", [&] { written.Read(MakeLayer()); });
    refuse(readFeature, [&] { written.GetFeatureMBRAt(0); });
    refuse("BShpFile::Write", [&] { read->Write(); });
    refuse("BShpFile::WriteNullShape", [&] { read->WriteNullShape(); });
    refuse("BShpFile::WriteNullShape", [&] { read->WriteFeature(feature); });
    refuse("BShpFile::WriteHeader", [&] { read->WriteHeader(handle); });
    refuse("BShpFile::WriteHeader", [&] { read->FinishHeader(handle); });
}

TEST(OpeningTest, SetsUpLayersByShapeType) {
    struct LayerCase {
        std::int32_t type;
        EGeometryClass geometryClass;
        char const* metadata;
    };
    LayerCase const cases[] = {
        {0, GEO_CLASS_NONE, "ShpHasMeasures=false"},
        {1, GEO_CLASS_POINTS, "ShpHasMeasures=false"},
        {8, GEO_CLASS_MULTIPOINTS, "ShpHasMeasures=false"},
        {13, GEO_CLASS_LINES,
         "ShpMinZCoord=1 ShpMaxZCoord=2 ShpHasMeasures=true ShpMinMeasure=3 ShpMaxMeasure=4"},
        {25, GEO_CLASS_AREAS, "ShpHasMeasures=true ShpMinMeasure=3 ShpMaxMeasure=4"},
        {31, GEO_CLASS_NONE, "ShpHasMeasures=false"},
    };
    for (LayerCase const& c : cases) {
        OpenShapefile const file(ShapefileBuilder(c.type).ZRange(1, 2).MRange(3, 4));
        BSharedPtr<BVectorLayer> layer = MakeLayer();
        file->SetUpLayer(layer);
        EXPECT_EQ(layer->GetSingleGeometryClass(), c.geometryClass) << c.type;
        EXPECT_EQ(TextOf(layer->GetMetadata()), c.metadata);
        EXPECT_EQ(layer->Is3d(), c.type == 13);
        EXPECT_EQ(layer->GetSchema().GetCount(), 1U);
        EXPECT_TRUE(file->HasIndexInMemory());
    }
}

} // namespace

} // namespace Ambrel::Test
