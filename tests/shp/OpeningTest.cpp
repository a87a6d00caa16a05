#include "ShpSupport.h"

#include <limits>

namespace Ambrel::Test {

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

struct HeaderCase {
    char const* what;
    std::int32_t type;
    double mMin;
    double mMax;
    bool hasZ;
    bool hasMeasures;
};

TEST(OpeningTest, TakesZAndMeasuresFromTheHeader) {
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
        if (!c.hasMeasures) {
            EXPECT_EQ(file->GetMaxMeasure(), std::numeric_limits<double>::lowest());
        }
        EXPECT_EQ(TextOf(static_cast<BRect const&>(file->GetExtent())), "1 2 3 4");
    }
}

TEST(OpeningTest, CountsRecordsByTheSizeOfTheIndex) {
    ShapefileBuilder const one = ShapefileBuilder(1).Point(1, 2).FileLength(0);
    for (auto const& [size, count] : {std::pair{0, 0}, {99, 0}, {100, 0}, {107, 0}, {108, 1}}) {
        OpenShapefile const file(ShapefileBuilder(one).CutIndex(static_cast<std::size_t>(size)));
        EXPECT_EQ(file->GetRecordCount(), static_cast<std::uint32_t>(count)) << size;
    }
}

TEST(OpeningTest, NeverLooksAtTheHeaderOfTheIndex) {
    OpenShapefile file(ShapefileBuilder(1).Point(1, 2));
    Bytes index = ReadFile(file.folder.Path() / "file.shx");
    std::fill(index.begin(), index.begin() + 100, std::uint8_t{0xEE});
    WriteFile(file.folder.Path() / "file.shx", index);
    BShpFile again;
    again.Open(file.path, BShpFile::readMode, true, "");
    again.LoadIndex();
    EXPECT_EQ(TextOf(*again.ReadFeature(0, true)), "point[1 2]");
}

/// The checks run in a fixed order, so each broken file is reported for its first fault.
TEST(OpeningTest, RefusesWithTheFileAtFault) {
    TemporaryFolder const folder;
    auto const open = [&](BString const& path) { BShpFile().Open(path, 1, true, ""); };
    BString const missing = folder.File("none.shp");
    EXPECT_BEXCEPTION(open(missing), BFileNotFoundException, "BShpFile::Open", missing);

    struct BadHeader {
        char const* name;
        ShapefileBuilder builder;
    };
    BadHeader const badHeaders[] = {
        {"code", ShapefileBuilder(1).FileCode(9993)},
        {"version", ShapefileBuilder(1).Version(999).WithoutIndex()},
        {"short", ShapefileBuilder(1).CutMainFile(99).WithoutTable()},
        {"empty", ShapefileBuilder(1).CutMainFile(0)},
    };
    for (BadHeader const& bad : badHeaders) {
        BString const path = bad.builder.WriteTo(folder, bad.name);
        EXPECT_BEXCEPTION(open(path), BFileContentNotValidException, "BShpFile::GetHeader", path);
    }

    BString const noIndex = ShapefileBuilder(1).WithoutIndex().WithoutTable().WriteTo(folder, "a");
    EXPECT_BEXCEPTION(open(noIndex), BFileNotFoundException, "BShpFile::Open",
                      folder.File("a.shx"));
    BString const noTable = ShapefileBuilder(1).WithoutTable().WriteTo(folder, "b");
    EXPECT_BEXCEPTION(open(noTable), BFileNotFoundException, "BShpFile::Open",
                      folder.File("b.dbf"));
}

TEST(OpeningTest, FindsCompanionsWhateverTheirLetterCase) {
    TemporaryFolder const folder;
    ShapefileBuilder(1).Point(1, 2).WriteTo(folder, "roads");
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
    EXPECT_EQ(log.Count(LOG_WARNING, "SHP-Reader: Failed to load coordinate system"), 1U);

    OpenShapefile const sound(ShapefileBuilder(1).Prj(
        R"(GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1984",SPHEROID["WGS_1984",6378137,298.257223563]],)"
        R"(PRIMEM["Greenwich",0],UNIT["Degree",0.017453292519943295]])"));
    EXPECT_EQ(sound->GetCoordSys()->GetEpsgCode(), 4326);
    EXPECT_EQ(log.TextsOf(LOG_WARNING).size(), 1U);
}

TEST(OpeningTest, OpensOnce) {
    OpenShapefile const file(ShapefileBuilder(1).Point(1, 2));
    std::filesystem::remove(file.path.Ascii());
    EXPECT_NO_THROW(file->Open(file.path, BShpFile::readMode, true, ""));
    EXPECT_BEXCEPTION(file->Open("other.shp", BShpFile::writeMode, true, ""), BAlreadyOpenException,
                      "BShpFile::Open", "other.shp");
}

/// A failed Open keeps the mode that was asked for; what comes after must not trip over it.
TEST(OpeningTest, StaysHarmlessAfterAFailedOpen) {
    TemporaryFolder const folder;
    BString const path = ShapefileBuilder(1).Point(1, 2).WithoutTable().WriteTo(folder, "a");
    BShpFile file;
    EXPECT_THROW(file.Open(path, 1, true, ""), BFileNotFoundException);
    EXPECT_NO_THROW(file.Open(path, 1, true, ""));
    EXPECT_BEXCEPTION(file.Open(path, 2, true, ""), BAlreadyOpenException, "BShpFile::Open", path);
    BSharedPtr<BVectorLayer> layer = MakeLayer();
    EXPECT_THROW(file.SetUpLayer(layer), BNotOpenException);
    EXPECT_THROW(file.Read(layer), BNotOpenException);
    EXPECT_THROW(file.ReadFeature(0, true), BNotOpenException);

    EXPECT_THROW(BShpFile().SetUpLayer(layer), BNotOpenException);
    BShpFile missing;
    EXPECT_THROW(missing.Open(folder.File("none.shp"), 1, true, ""), BFileNotFoundException);
    EXPECT_EQ(missing.Read(layer), 0);
    EXPECT_THROW(missing.ReadFeature(0, true), BIndexOutOfBoundsException);
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
        OpenShapefile const file(
            ShapefileBuilder(c.type).ZRange(1, 2).MRange(3, 4).Field("a", 'C', 3));
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
