#include "ShpReader/writing/ShapefileWriter.h"
#include "FileSizeLimit.h"
#include "ShpSupport.h"

#include <sys/stat.h>

#include <clocale>
#include <cmath>

namespace Ambrel::Test {

namespace {

constexpr char const* makeOperation = "ShapefileWriter::ShapefileWriter";
constexpr char const* writeOperation = "ShapefileWriter::Write";
constexpr char const* finishOperation = "ShapefileWriter::Finish";

BAttributeDef Field(char const* name, EVariantType type, int width = 0, int decimals = 0) {
    BAttributeDef field;
    field.name = name;
    field.SetType(type);
    field.width = width;
    field.decimals = decimals;
    return field;
}

BAttributeDefs Schema(std::vector<BAttributeDef> const& fields) {
    BAttributeDefs schema;
    for (BAttributeDef const& field : fields) {
        schema.Add(field);
    }
    return schema;
}

BPoints PointsOf(std::vector<BPoint> const& list) {
    BPoints points;
    for (BPoint const& point : list) {
        points.Add(point);
    }
    return points;
}

BSharedPtr<BAreaGeo> Ring(std::vector<BPoint> const& vertices) {
    auto* const ring = new BPolygon;
    ring->SetPoints(PointsOf(vertices));
    return BSharedPtr<BAreaGeo>(ring);
}

BSharedPtr<BAreaGeo> Donut(BSharedPtr<BAreaGeo> const& shell, BSharedPtr<BAreaGeo> const& hole) {
    auto* const donut = new BDonut;
    donut->SetShell(shell);
    donut->AddHole(hole);
    return BSharedPtr<BAreaGeo>(donut);
}

BFeature FeatureOf(BSharedPtr<BGeometry> const& geometry, Reals const& measures = {}) {
    BFeature feature;
    feature.SetGeometry(BSharedPtr<BGeometry>(geometry));
    if (!measures.empty()) {
        feature.GetMetadata().Add("ShpMeasures", BVariant(Reals(measures)));
    }
    return feature;
}

BFeature At(double x, double y, double z = 0) {
    return FeatureOf(BSharedPtr<BGeometry>(new BPointGeo(BPoint(x, y, z))));
}

BFeature WithValue(char const* name, BVariant const& value) {
    BFeature feature;
    feature.attributes.Add(name, value);
    return feature;
}

/// Writes what is read of a shapefile as another one.
void Copy(BShpFile& source, BString const& path, std::int32_t type) {
    ShapefileWriter writer(path, type, source.GetDbfFile()->GetSchema());
    for (std::uint32_t i = 0; i < source.GetRecordCount(); ++i) {
        writer.Write(*source.ReadFeature(i, true));
    }
    EXPECT_EQ(writer.GetRecordCount(), source.GetRecordCount());
    writer.Finish();
}

void AddPoints(ShapefileBuilder& builder, std::int32_t type) {
    std::optional<double> const z = type == 11 ? std::optional(3.0) : std::nullopt;
    std::optional<double> const m = type > 10 ? std::optional(4.0) : std::nullopt;
    builder.Point(1.5, -2, z, m).Point(5, 6, z, m);
}

/// Every feature of a shapefile: geometry, metadata and values.
Texts ReadAll(BString const& path) {
    LogCapture const log;
    BShpFile file;
    file.Open(path, BShpFile::readMode, true, "");
    Texts texts;
    for (std::uint32_t i = 0; i < file.GetRecordCount(); ++i) {
        BSharedPtr<BFeature> const feature = file.ReadFeature(i, true);
        std::string text = TextOf(*feature) + " " + TextOf(feature->GetMetadata());
        for (std::uint64_t k = 0; k < feature->attributes.GetCount(); ++k) {
            BVariant const& value = feature->attributes.GetAt(k).GetValue();
            text += " " + std::string(value.GetValueAsString(BString("null")).Ascii());
        }
        texts.push_back(text);
    }
    EXPECT_EQ(log.TextsOf(LOG_WARNING), Texts());
    return texts;
}

Texts Names(std::filesystem::path const& folder) {
    Texts names;
    for (auto const& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

class ShapefileWriterTest : public testing::Test {
protected:
    Bytes Written(char const* name) const { return ReadFile(folder.Path() / name); }

    TemporaryFolder folder;
    BString path = folder.File("new.shp");
};

/// The files are those that the builder of the tests makes on its own, byte for byte.
TEST_F(ShapefileWriterTest, WritesTheSameBytesAsAWitness) {
    Vertices const shell = {{0, 0}, {0, 9}, {9, 9}, {9, 0}, {0, 0}};
    Vertices const hole = {{2, 2}, {4, 2}, {4, 4}, {2, 2}};
    Reals const some = {5, 4, 3, 2, 5, 6, 7, 8, 6};
    for (std::int32_t const type : {1, 3, 5, 8, 11, 13, 15, 18, 21, 23, 25, 28}) {
        SCOPED_TRACE(type);
        ShapefileBuilder witness(type);
        Reals const z = type / 10 == 1 ? some : Reals();
        Reals const m = type > 10 ? some : Reals();
        auto const first = [](Reals const& values, std::size_t count) {
            return values.empty() ? Reals() : Reals(values.begin(), values.begin() + count);
        };
        switch (type % 10) {
        case 1: AddPoints(witness, type); break;
        case 3:
            witness.Polyline({hole, shell}, z, m).Polyline({hole}, first(z, 4), first(m, 4));
            break;
        case 5:
            witness.Polygon({shell, hole}, z, m).Polygon({shell}, first(z, 5), first(m, 5));
            break;
        default: witness.MultiPoint(shell, first(z, 5), first(m, 5)); break;
        }
        witness.Null();
        OpenShapefile const source(witness);
        Copy(*source.file, path, type);
        for (char const* const extension : {".shp", ".shx"}) {
            EXPECT_EQ(Written((std::string("new") + extension).c_str()),
                      witness.Files().at(extension))
                << extension;
        }
        EXPECT_EQ(ReadAll(path), ReadAll(source.path));
        EXPECT_EQ(Names(folder.Path()), (Texts{"new.cpg", "new.dbf", "new.shp", "new.shx"}));
    }
}

TEST_F(ShapefileWriterTest, ClosesAndTurnsRingsWithTheirMeasures) {
    BSharedPtr<BAreaGeo> const shell = Ring({{0, 0}, {9, 0}, {9, 9}, {0, 9}});
    BSharedPtr<BAreaGeo> const hole = Ring({{2, 2}, {2, 4}, {4, 4}, {2, 2}});
    auto* const areas = new BAggregateArea;
    areas->Add(Donut(shell, hole));
    areas->Add(Ring({}));
    areas->Add(Ring({{20, 20}, {20, 30}, {30, 30}}));
    {
        ShapefileWriter writer(path, 25, {});
        writer.Write(FeatureOf(BSharedPtr<BGeometry>(areas), {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
        writer.Finish();
    }
    EXPECT_EQ(ReadAll(path).front(),
              "areas{donut{polygon[0 0,0 9,9 9,9 0,0 0] polygon[2 2,4 4,2 4,2 2]} "
              "polygon[20 20,20 30,30 30,20 20]} ShpMinMeasure=1 ShpMaxMeasure=10 "
              "ShpMeasures=(1 4 3 2 1 8 7 6 5 9 10 -1e+39 9 ) OriginalFormat=SHP RecordNumber=0");
}

TEST_F(ShapefileWriterTest, LeavesMissingMeasuresOutOfRangesAndBlocks) {
    {
        ShapefileWriter writer(path, 13, {});
        auto* const line = new BPolyline;
        line->SetPoints(PointsOf({{1, 2, 3}, {4, 5, 6}}));
        BSharedPtr<BGeometry> const geometry(line);
        writer.Write(FeatureOf(geometry));
        writer.Write(FeatureOf(geometry, {std::nan(""), 7}));
        writer.Write(FeatureOf(BSharedPtr<BGeometry>(new BPolyline)));
        writer.Finish();
    }
    BShpFile file;
    file.Open(path, BShpFile::readMode, true, "");
    EXPECT_EQ(file.GetMinMeasure(), 7);
    EXPECT_EQ(file.GetMaxMeasure(), 7);
    EXPECT_EQ(file.GetMinZ(), 3);
    Texts metadata;
    for (std::uint32_t i = 0; i < 3; ++i) {
        metadata.push_back(TextOf(file.ReadFeature(i, false)->GetMetadata()));
    }
    EXPECT_EQ(metadata, (Texts{"ShpMinZCoord=3 ShpMaxZCoord=6",
                               "ShpMinZCoord=3 ShpMaxZCoord=6 ShpMinMeasure=7 ShpMaxMeasure=7 "
                               "ShpMeasures=(-1e+39 7 )",
                               ""}));
}

TEST_F(ShapefileWriterTest, WritesAnEmptyLayer) {
    ShapefileWriter(path, 5, NameSchema()).Finish();
    EXPECT_EQ(ReadAll(path), Texts());
    EXPECT_EQ(Written("new.shp"), ShapefileBuilder(5).Files().at(".shp"));
    EXPECT_EQ(Written("new.shx").size(), 100U);
}

TEST_F(ShapefileWriterTest, GivesValuesBackByNameWhateverTheLocale) {
    BAttributeDefs const schema =
        Schema({Field("a long name one", VAR_INTEGER64), Field("a long name two", VAR_DOUBLE),
                Field("fixed", VAR_DOUBLE, 9, 2), Field("text", VAR_STRING), Field("day", VAR_DATE),
                Field("yes", VAR_BOOLEAN), Field("big", VAR_UNSIGNED_INTEGER64)});
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    {
        ShapefileWriter writer(path, 1, schema);
        BFeature feature = At(1, 2);
        feature.attributes.Add("yes", BVariant(true));
        feature.attributes.Add("unknown", BVariant(7));
        feature.attributes.Add("text", BVariant("caf\xC3\xA9"));
        feature.attributes.Add("day", BVariant("20240229"));
        feature.attributes.Add("fixed", BVariant(-1234.567));
        feature.attributes.Add("a long name two", BVariant(0.1));
        feature.attributes.Add("a long name one", BVariant(std::int64_t{-9223372036854775807 - 1}));
        writer.Write(feature);
        for (double const value : {-1.7976931348623157e308, 4.9e-324, 1.0 / 3}) {
            BFeature real;
            real.attributes.Add("a long name two", BVariant(value));
            real.attributes.Add("fixed", BVariant(1e20)); // too wide with its decimals
            writer.Write(real);
        }
        std::vector<BString> const names = writer.GetFieldNames();
        EXPECT_EQ(names[0], BString("a long nam"));
        EXPECT_EQ(names[1], BString("a long na1"));
        writer.Finish();
    }
    std::setlocale(LC_ALL, "C");
    BShpFile file;
    file.Open(path, BShpFile::readMode, true, "");
    BAttributes const first = file.ReadFeature(0, true)->attributes;
    BVariant date("20240229");
    date.SetType(VAR_DATE);
    BVariant const expected[] = {std::int64_t{-9223372036854775807 - 1},
                                 0.1,
                                 -1234.57,
                                 "caf\xC3\xA9",
                                 date,
                                 true,
                                 std::int64_t{0}};
    for (std::uint64_t k = 0; k < std::size(expected); ++k) {
        EXPECT_EQ(first.GetAt(k).GetValue(), expected[k]) << k;
    }
    EXPECT_EQ(file.ReadFeature(1, true)->attributes.GetAt(1).GetValue(),
              BVariant(-1.7976931348623157e308));
    EXPECT_EQ(file.ReadFeature(2, true)->attributes.GetAt(1).GetValue(), BVariant(4.9e-324));
    EXPECT_EQ(file.ReadFeature(3, true)->attributes.GetAt(1).GetValue(), BVariant(1.0 / 3));
    EXPECT_EQ(file.ReadFeature(3, true)->attributes.GetAt(2).GetValue(), BVariant(1e20));
    Bytes const table = Written("new.dbf");
    std::string const last(table.end() - 9 - 254 - 8 - 1 - 20 - 1, table.end());
    EXPECT_EQ(last, "    1e+20" + std::string(254 + 8, ' ') + "?" + std::string(20, ' ') + "\x1A");
}

TEST_F(ShapefileWriterTest, RefusesWhatDoesNotFitAndGoesOn) {
    BAttributeDefs const schema =
        Schema({Field("text", VAR_STRING, 300), Field("n", VAR_INTEGER, 3),
                Field("r", VAR_DOUBLE, 4, 1), Field("day", VAR_DATE), Field("yes", VAR_BOOLEAN)});
    std::string const wide(255, 'x');
    ShapefileWriter writer(path, 5, schema);
    writer.Write(WithValue("text", wide.substr(1).c_str()));
    for (auto const& [name, value, reason] :
         {std::tuple{"text", BVariant(wide.c_str()), "the text is too long"},
          {"n", BVariant(1000), "the number is too wide"},
          {"n", BVariant("x"), "the value is no number"},
          {"r", BVariant(12345.0), "the number is too wide"},
          {"r", BVariant(HUGE_VAL), "the number is not finite"},
          {"day", BVariant("2021-03-15"), "the date is not of eight digits"},
          {"yes", BVariant("x"), "the value is neither true nor false"}}) {
        EXPECT_BEXCEPTION(writer.Write(WithValue(name, value)), BAttributeDataException,
                          writeOperation, BString::Format("Record=1, Field=%s, %s", name, reason));
    }
    auto* const strange = new BAggregateArea;
    strange->Add(Donut(Donut(Ring({}), Ring({})), Ring({})));
    for (BFeature const& feature : {At(1, 2), FeatureOf(BSharedPtr<BGeometry>(strange))}) {
        EXPECT_BEXCEPTION(writer.Write(feature), BUnknownGeometryException, writeOperation,
                          "Record=1, the geometry is of another kind");
    }
    writer.Write(WithValue("n", 999));
    writer.Finish();
    EXPECT_EQ(ReadAll(path).size(), 2U);
    EXPECT_BEXCEPTION(writer.Write(BFeature()), BNotOpenException, writeOperation, path);
    EXPECT_BEXCEPTION(writer.Finish(), BNotOpenException, finishOperation, path);
}

TEST_F(ShapefileWriterTest, KeepsItsFilesBelowTheirLimits) {
    for (auto const& [limits, count, reason] :
         {std::tuple{ShapefileLimits{.mainFile = 100 + 3 * 28}, 3U,
                     "Record=3, the main file would be too large"},
          {ShapefileLimits{.table = 65 + 2 * 7 + 1}, 2U,
           "Record=2, the table would be too large"}}) {
        ShapefileWriter writer(path, 1, NameSchema(), {}, {}, limits);
        for (std::uint32_t i = 0; i < count; ++i) {
            writer.Write(At(i, i));
        }
        EXPECT_BEXCEPTION(writer.Write(At(9, 9)), BResourceException, writeOperation, reason);
        writer.Finish();
        EXPECT_EQ(ReadAll(path).size(), count);
    }
}

TEST_F(ShapefileWriterTest, RefusesWhatNoShapefileHolds) {
    auto const make = [&](std::int32_t type, BAttributeDefs const& schema, char const* encoding) {
        ShapefileWriter(path, type, schema, {}, encoding).Finish();
    };
    EXPECT_BEXCEPTION(make(31, {}, ""), BUnknownGeometryException, makeOperation, "ShapeType=31");
    EXPECT_BEXCEPTION(make(1, {}, "UTF-16"), BException, makeOperation, "ENCODING=UTF-16");
    EXPECT_BEXCEPTION(make(1, Schema({Field("l", VAR_DOUBLE_LIST)}), ""), BAttributeDataException,
                      makeOperation, "Field=l, no field holds values of its type");
    EXPECT_BEXCEPTION(make(1, Schema({Field("n", VAR_INTEGER, 256)}), ""), BAttributeDataException,
                      makeOperation, "Field=n, width out of range");
    path = folder.File("new.dbf");
    EXPECT_BEXCEPTION(make(1, {}, ""), BFileNotFoundException, makeOperation, path);
    path = folder.File("missing/new.shp");
    EXPECT_BEXCEPTION(make(1, {}, ""), BFileNotFoundException, makeOperation, path);
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST_F(ShapefileWriterTest, WritesTextsInTheEncodingAskedFor) {
    {
        ShapefileWriter writer(path, 1, Schema({Field("\xC3\xA9t\xC3\xA9", VAR_STRING, 5)}),
                               BSharedPtr<BCoordSys>(BCoordSys::FromText("EPSG:4326")),
                               "ANSI 1252");
        writer.Write(WithValue("\xC3\xA9t\xC3\xA9", "\xC3\xA9\xD0\x9C\xF0\x9F\x98\x80z"));
        EXPECT_EQ(writer.GetReplacedLetterCount(), 2U);
        writer.Finish();
    }
    EXPECT_EQ(Written("new.cpg"), Bytes(ByteList().Text("windows-1252")));
    Bytes const table = Written("new.dbf");
    std::string const text(table.begin(), table.end());
    EXPECT_NE(text.find("\xE9t\xE9"), std::string::npos);
    EXPECT_NE(text.find(" \xE9??z \x1A"), std::string::npos);
    EXPECT_TRUE(std::filesystem::exists(folder.Path() / "new.prj"));
}

/// Whatever fails, and wherever: what was there stays, and nothing else does.
TEST_F(ShapefileWriterTest, LeavesEverythingAsItWasWithoutFinish) {
    Texts const kept = {"new.cpg", "new.dbf", "new.prj", "new.shp", "new.shx"};
    auto const expectKept = [&] {
        EXPECT_EQ(Names(folder.Path()), kept);
        for (std::string const& name : kept) {
            EXPECT_EQ(ReadFile(folder.Path() / name), Bytes{'x'}) << name;
        }
    };
    for (std::string const& name : kept) {
        WriteFile(folder.Path() / name, {'x'});
    }
    { ShapefileWriter(path, 1, NameSchema()).Write(At(1, 2)); }
    expectKept();
    for (rlim_t const limit : {0, 50, 100, 150, 1000, 300000}) {
        SCOPED_TRACE(limit);
        LogCapture const log;
        {
            FileSizeLimit const full(limit);
            ShapefileWriter writer(path, 1, NameSchema(),
                                   BSharedPtr<BCoordSys>(BCoordSys::FromText("EPSG:4326")));
            EXPECT_THROW(
                {
                    for (int i = 0; i < 20000; ++i) {
                        writer.Write(At(i, i));
                    }
                    writer.Finish();
                },
                BResourceException);
        }
        EXPECT_EQ(log.TextsOf(LOG_FATAL).size(), 1U);
        expectKept();
    }
}

TEST_F(ShapefileWriterTest, UndoesWhatItHasPutInPlaceWhereOneFileCannotBe) {
    for (char const* const name : {"new.shp", "new.shx", "new.dbf"}) {
        WriteFile(folder.Path() / name, {'x'});
    }
    ShapefileWriter writer(path, 1, NameSchema());
    writer.Write(At(1, 2));
    // In the meantime somebody has made a folder of the name of the last file.
    std::filesystem::create_directory(folder.Path() / "new.cpg");
    EXPECT_THROW(writer.Finish(), BException);
    for (char const* const name : {"new.shp", "new.shx", "new.dbf"}) {
        EXPECT_EQ(Written(name), Bytes{'x'}) << name;
    }
}

TEST_F(ShapefileWriterTest, ReplacesAFormerShapefileWhole) {
    for (char const* const name : {"new.shp", "new.shx", "new.dbf", "new.prj", "new.cpg"}) {
        WriteFile(folder.Path() / name, {'x'});
    }
    ShapefileWriter writer(path, 1, NameSchema());
    writer.Write(At(1, 2));
    writer.Finish();
    EXPECT_EQ(Names(folder.Path()), (Texts{"new.cpg", "new.dbf", "new.shp", "new.shx"}));
    EXPECT_EQ(ReadAll(path).size(), 1U);
}

} // namespace

} // namespace Ambrel::Test
