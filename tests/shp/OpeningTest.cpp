#include "ShpReader/BShpFeatureCollection.h"
#include "ShpSupport.h"

#include <QFile>

namespace Ambrel::Test {

namespace {

TEST(OpeningTest, LayersAndCollectionsFollowTheHeader) {
    std::string const none = "ShpHasMeasures=false";
    std::string const some = "ShpHasMeasures=true ";
    std::string const z = "ShpMinZCoord=-3 ShpMaxZCoord=7 ";
    std::tuple<char const*, std::int32_t, double, double, EGeometryClass, EGeometryType,
               std::string> const cases[] = {
        {"null shapes", 0, 1, 2, GEO_CLASS_NONE, GEO_NONE, none},
        {"type without either", 1, 1, 2, GEO_CLASS_POINTS, GEO_POINT, none},
        {"range of zeros", 15, 0, 0, GEO_CLASS_AREAS, GEO_POLYGON, z + none},
        {"no data below", 23, -1e39, 5, GEO_CLASS_LINES, GEO_POLYLINE, none},
        {"no data above", 13, 0, -1.1e38, GEO_CLASS_LINES, GEO_POLYLINE, z + none},
        {"no data's bound itself", 28, -1e38, 5, GEO_CLASS_MULTIPOINTS, GEO_AGGREGATE_POINT,
         some + "ShpMinMeasure=-1e+38 ShpMaxMeasure=5"},
        {"NaN counts as a bound", 18, notANumber, 0, GEO_CLASS_MULTIPOINTS, GEO_AGGREGATE_POINT,
         z + some + "ShpMinMeasure=nan ShpMaxMeasure=0"},
        {"multipatch", 31, 1, 2, GEO_CLASS_NONE, GEO_NONE, none},
    };
    for (auto const& [what, type, mMin, mMax, geometryClass, geometryType, metadata] : cases) {
        SCOPED_TRACE(what);
        OpenShapefile file(ShapefileBuilder(type)
                               .Null()
                               .Null()
                               .Extent(1, 2, 3, 4)
                               .ZRange(-3, 7)
                               .MRange(mMin, mMax));
        BSharedPtr<BVectorLayer> layer = MakeLayer();
        file->SetUpLayer(layer);
        EXPECT_TRUE(file->HasIndexInMemory());
        EXPECT_EQ(layer->GetSingleGeometryClass(), geometryClass);
        EXPECT_EQ(TextOf(layer->GetMetadata()), metadata);
        EXPECT_EQ(layer->GetSchema().GetCount(), 1U);
        bool const hasZ = type / 10 == 1;
        EXPECT_EQ(layer->Is3d(), hasZ);

        BShpFeatureCollection collection(file.file);
        EXPECT_TRUE(collection.CanRender() && collection.CanSelect());
        std::uint64_t const count = geometryType == GEO_NONE ? 0 : 2;
        EXPECT_EQ(collection.GetGeometryCounts().GetGeometryClassCount(geometryClass), count);
        EXPECT_EQ(collection.GetGeometryCounts().GetGeometryTypeCount(geometryType), count);
        EXPECT_EQ(collection.ComputeMBB().zMax, hasZ ? 7 : BBox().zMax);
        EXPECT_EQ(TextOf(static_cast<BRect const&>(collection.ComputeMBB())), "1 2 3 4");
    }
}

TEST(OpeningTest, CountsRecordsByTheSizeOfTheIndex) {
    for (auto const& [size, count] : {std::pair{0U, 0U}, {99U, 0U}, {107U, 0U}, {108U, 1U}}) {
        // The length that the header states is not asked.
        OpenShapefile const file(Diagonal(1).PatchHeader(24, Bytes(4)).Cut(".shx", size));
        EXPECT_EQ(file->GetRecordCount(), count) << size;
    }
}

/// The checks run in a fixed order, so each broken file is reported for its first fault.
TEST(OpeningTest, RefusesWithTheFileAtFault) {
    TemporaryFolder const folder;
    auto const open = [&](BString const& path) { BShpFile().Open(path, 1, true, ""); };
    ShapefileBuilder const badHeaders[] = {
        ShapefileBuilder(1).PatchHeader(3, {0x09}),
        ShapefileBuilder(1).Version(999).Without(".shx"),
        ShapefileBuilder(1).Cut(".shp", 99).Without(".dbf"),
        ShapefileBuilder(1).Cut(".shp", 0),
    };
    for (ShapefileBuilder const& bad : badHeaders) {
        BString const path = bad.WriteTo(folder, "bad");
        EXPECT_BEXCEPTION(open(path), BFileContentNotValidException, "BShpFile::GetHeader", path);
    }
    ShapefileBuilder const withoutTable = ShapefileBuilder(1).Without(".dbf");
    ShapefileBuilder(withoutTable).Without(".shx").WriteTo(folder, "none");
    withoutTable.WriteTo(folder, "table");
    for (auto const& [opened, missing] : {std::pair{"nothing.shp", "nothing.shp"},
                                          {"none.shp", "none.shx"},
                                          {"table.shp", "table.dbf"}}) {
        EXPECT_BEXCEPTION(open(folder.File(opened)), BFileNotFoundException, "BShpFile::Open",
                          folder.File(missing));
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
    OpenShapefile const file(ShapefileBuilder(1).File(".prj", "nonsense"));
    EXPECT_FALSE(file->GetCoordSys());
    EXPECT_EQ(log.TextsOf(LOG_WARNING), Texts{"SHP-Reader: Failed to load coordinate system"});
}

/// A failed Open keeps the mode that was asked for; what comes after must not trip over it.
TEST(OpeningTest, StaysHarmlessAfterAFailedOpen) {
    TemporaryFolder const folder;
    BString const path = Diagonal(1).Without(".dbf").WriteTo(folder, "a");
    BSharedPtr<BVectorLayer> layer = MakeLayer();
    BShpFile file;
    EXPECT_THROW(file.Open(path, 1, true, ""), BFileNotFoundException);
    EXPECT_NO_THROW(file.Open(path, 1, true, ""));
    EXPECT_BEXCEPTION(file.Open("x", 2, true, ""), BAlreadyOpenException, "BShpFile::Open", "x");
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

#if defined(__GXX_ABI_VERSION)
/// Hosts that were built against another version find the virtual operations by their slots.
TEST(OpeningTest, VirtualOperationsKeepTheirSlots) {
    OpenShapefile const read(Diagonal(1));
    BShpFile& file = *read.file;
    void* const* const virtualTable = *reinterpret_cast<void* const* const*>(&file);
    constexpr int behindDestructors = 2;
    auto const slot = [&](int number) { return virtualTable[behindDestructors + number]; };
    BSharedPtr<BFeature> const feature(new BFeature);
    using Operation = void (*)(BShpFile*);
    using FeatureOperation = void (*)(BShpFile*, BSharedPtr<BFeature> const*);
    EXPECT_BEXCEPTION(reinterpret_cast<Operation>(slot(0))(&file), BReadWriteMismatchException,
                      "BShpFile::Write", "");
    TemporaryFolder const folder;
    BShpFile written;
    written.Open(folder.File("a.shp"), BShpFile::writeMode, true, "");
    reinterpret_cast<Operation>(slot(2))(&written);
    EXPECT_EQ(written.GetRecordCount(), 1U);
    EXPECT_BEXCEPTION(reinterpret_cast<FeatureOperation>(slot(1))(&written, &feature),
                      BAttributeDataException, "BDbfFile::WriteAttributeRecord", "*");
    EXPECT_EQ(written.GetRecordCount(), 2U);
}
#endif

} // namespace

} // namespace Ambrel::Test
