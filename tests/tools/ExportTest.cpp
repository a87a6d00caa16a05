#include "ToolRun.h"
#include "terminal/Interrupt.h"

#include <algorithm>
#include <cmath>

namespace Ambrel::Test {
namespace {

using Json = nlohmann::json;

std::string const modes[] = {"stream", "memory", "cache", "direct"};

using Export = ToolTest;

TEST_F(Export, WritesFeaturesWhole) {
    ShapefileBuilder builder(1);
    builder.Field("text", 'C', 6).Field("whole", 'N', 5).Field("long", 'N', 12);
    builder.Field("real", 'N', 9, 3).Field("day", 'D', 8).Field("yes", 'L', 1).Field("no", 'L', 1);
    builder.Row({"ä,\"", "-7", "123456789012", "1.250", "20210315", "T", "F"}).Point(0.1, -2);
    Write(builder);
    std::string const json = R"({"type":"FeatureCollection","name":"map","features":[
{"type":"Feature","id":0,"geometry":{"type":"Point","coordinates":[0.1,-2]},)"
                             R"("properties":{"text":"ä,\"","whole":-7,"long":123456789012,)"
                             R"("real":1.25,"day":"2021-03-15","yes":true,"no":false}}
]}
)";
    EXPECT_EQ(RunTool("export map.shp"), Printed(json));
    std::string const csv =
        "text,whole,long,real,day,yes,no,wkt\r\n"
        "\"ä,\"\"\",-7,123456789012,1.25,2021-03-15,true,false,POINT (0.1 -2)\r\n";
    EXPECT_EQ(RunTool("export map.shp --format csv"), Printed(csv));
}

TEST_F(Export, QuotesTextAndWritesOnlyTrueDatesWithHyphens) {
    ShapefileBuilder builder(1);
    builder.Field("text", 'C', 9).Field("day", 'D', 8).Null().Null().Null().Null().Null();
    builder.Row({"a \"b\" \\ c", "20240229"}).Row({"a,b", "20230229"}).Row({"1\r2", "20211301"});
    builder.Row({"\t\b\f\x01\x1F", "2021031"}).Row({"1\n2", "2021 315"});
    Write(builder);
    EXPECT_EQ(RunTool("export map.shp"),
              Printed(R"({"type":"FeatureCollection","name":"map","features":[
{"type":"Feature","id":0,"geometry":null,"properties":{"text":"a \"b\" \\ c","day":"2024-02-29"}},
{"type":"Feature","id":1,"geometry":null,"properties":{"text":"a,b","day":"20230229"}},
{"type":"Feature","id":2,"geometry":null,"properties":{"text":"1\r2","day":"20211301"}},
{"type":"Feature","id":3,"geometry":null,"properties":{"text":"\t\b\f\u0001\u001f","day":"2021031"}},
{"type":"Feature","id":4,"geometry":null,"properties":{"text":"1\n2","day":"2021 315"}}
]}
)"));
    EXPECT_EQ(RunTool("export map.shp --format csv"), Printed("text,day,wkt\r\n"
                                                              "\"a \"\"b\"\" \\ c\",2024-02-29,\r\n"
                                                              "\"a,b\",20230229,\r\n"
                                                              "\"1\r2\",20211301,\r\n"
                                                              "\t\b\f\x01\x1F,2021031,\r\n"
                                                              "\"1\n2\",2021 315,\r\n"));
}

TEST_F(Export, WritesEachKindOfGeometry) {
    Vertices const square = {{0, 0}, {0, 9}, {9, 9}, {9, 0}, {0, 0}}; // clockwise: a shell
    Vertices const hole = {{2, 2}, {4, 2}, {4, 4}, {2, 2}};
    Vertices const far = {{20, 0}, {20, 9}, {29, 9}, {20, 0}};
    Parts const line = {{{1, 2}, {3, 4}}};
    std::tuple<ShapefileBuilder, std::string, std::string> const cases[] = {
        {ShapefileBuilder(5).Null(), "null", "\"\""},
        {ShapefileBuilder(1).Point(1, 2), "Point [1,2]", "POINT (1 2)"},
        {ShapefileBuilder(11).Point(1, 2, 3), "Point [1,2,3]", "POINT Z (1 2 3)"},
        {ShapefileBuilder(8).MultiPoint({{1, 2}, {3, 4}}), "MultiPoint [[1,2],[3,4]]",
         "\"MULTIPOINT ((1 2), (3 4))\""},
        {ShapefileBuilder(8).MultiPoint({}), "MultiPoint []", "MULTIPOINT EMPTY"},
        {ShapefileBuilder(13).Polyline(line, {5, 6}), "LineString [[1,2,5],[3,4,6]]",
         "\"LINESTRING Z (1 2 5, 3 4 6)\""},
        {ShapefileBuilder(3).Polyline({line[0], {{5, 6}, {7, 8}}}),
         "MultiLineString [[[1,2],[3,4]],[[5,6],[7,8]]]",
         "\"MULTILINESTRING ((1 2, 3 4), (5 6, 7 8))\""},
        {ShapefileBuilder(5).Polygon({square, hole}),
         "Polygon [[[0,0],[9,0],[9,9],[0,9],[0,0]],[[2,2],[4,4],[4,2],[2,2]]]",
         "\"POLYGON ((0 0, 0 9, 9 9, 9 0, 0 0), (2 2, 4 2, 4 4, 2 2))\""},
        {ShapefileBuilder(5).Polygon({far, square, hole}),
         "MultiPolygon [[[[20,0],[29,9],[20,9],[20,0]]],"
         "[[[0,0],[9,0],[9,9],[0,9],[0,0]],[[2,2],[4,4],[4,2],[2,2]]]]",
         "\"MULTIPOLYGON (((20 0, 20 9, 29 9, 20 0)), "
         "((0 0, 0 9, 9 9, 9 0, 0 0), (2 2, 4 2, 4 4, 2 2)))\""},
        // Numbers are as short as they can be.
        {ShapefileBuilder(8).MultiPoint(
             {{0.1, -0.0}, {1e300, 500000}, {1e-5, 1e15}, {9e-6, 2.2250738585072014e-308}}),
         "MultiPoint [[0.1,0],[1e+300,500000],[1e-05,1e+15],[9e-06,2.2250738585072014e-308]]",
         "\"MULTIPOINT ((0.1 -0), (1e+300 500000), (0.00001 1e+15), "
         "(9e-06 2.2250738585072014e-308))\""},
        // Open rings are closed; GeoJSON turns shells counterclockwise.
        {ShapefileBuilder(5).Polygon({{{0, 0}, {0, 9}, {9, 9}}}),
         "Polygon [[[9,9],[0,9],[0,0],[9,9]]]", "\"POLYGON ((0 0, 0 9, 9 9, 0 0))\""},
        {ShapefileBuilder(5).Polygon({{{0, 0}, {9, 9}, {0, 9}}}),
         "Polygon [[[0,0],[9,9],[0,9],[0,0]]]", "\"POLYGON ((0 0, 9 9, 0 9, 0 0))\""},
    };
    for (auto const& [builder, geoJson, csv] : cases) {
        Write(builder);
        Json const geometry = RunForJson("export map.shp")["features"][0]["geometry"];
        EXPECT_EQ(geometry.is_null()
                      ? "null"
                      : geometry.value("type", "") + " " + geometry["coordinates"].dump(),
                  geoJson);
        EXPECT_EQ(RunTool("export map.shp --format csv --no-attributes"),
                  Printed("wkt\r\n" + csv + "\r\n"));
    }
}

TEST_F(Export, LeavesOutGeometriesOfCoordinatesThatAreNoNumbers) {
    ShapefileBuilder builder(13);
    builder.Polyline({{{0, 0}, {infinity, 1}}}, {5, 6}).Polyline({{{1, 2}, {3, 4}}}, {5, infinity});
    Write(builder);
    std::string const reason = ": its coordinates are no numbers; its geometry is left out\n";
    EXPECT_EQ(RunTool("export map.shp --format csv"),
              (ToolRun{0, "id,wkt\r\n1,\r\n2,\r\n",
                       "ambrel-shp: warning: map.shp: record 0" + reason +
                           "ambrel-shp: warning: map.shp: record 1" + reason}));
    EXPECT_EQ(RunTool("check map.shp"),
              Printed("map.shp: 2 records, no problems, 2 with coordinates that are no numbers\n"));
}

TEST_F(Export, PutsMeasuresBesideTheGeometry) {
    ShapefileBuilder builder(23);
    builder.Polyline({{{1, 2}, {3, 4}, {5, 6}}}, {}, {1.5, -1e39, std::nan("")}).MRange(0, 9);
    Write(builder);
    Json const feature = RunForJson("export map.shp --no-attributes")["features"][0];
    EXPECT_EQ(feature["measures"].dump(), "[1.5,null,null]");
    EXPECT_EQ(feature["geometry"]["coordinates"].dump(), "[[1,2],[3,4],[5,6]]");
    EXPECT_EQ(feature["properties"], Json::object());
}

TEST_F(Export, TakesZFromAnAttribute) {
    Write(ShapefileBuilder(1).Field("height", 'N', 6, 1).Row({"12.5"}).Point(1, 2));
    std::string const line = "export map.shp --format csv --z-attribute ";
    EXPECT_EQ(RunTool(line + "height"), Printed("height,wkt\r\n12.5,POINT Z (1 2 12.5)\r\n"));
    EXPECT_EQ(RunTool(line + "missing"), Failed(1, "--z-attribute: there is no field missing "
                                                   "(map.shp)"));
}

TEST_F(Export, GivesTheSameBytesInEveryMode) {
    for (std::int32_t const type : {1, 8, 13, 15}) {
        Write(SmallFile(type));
        for (std::string const options : {"", " --format csv", " --bbox 0,0,2,2"}) {
            ToolRun const expected = RunTool("export map.shp" + options);
            EXPECT_GT(expected.out.size(), 100U);
            for (std::string const& mode : modes) {
                EXPECT_EQ(RunTool("export map.shp --mode " + mode + options), expected) << mode;
            }
        }
    }
}

TEST_F(Export, TransformsToLongitudeAndLatitude) {
    // UTM zone 32: the central meridian lies at 500,000 m. The second point is on no map of it.
    Write(ShapefileBuilder(1).Point(500000, 0).Point(1e12, 1e12).File(".prj", "EPSG:32632"));
    ToolRun const run = RunTool("export map.shp --to-wgs84");
    EXPECT_EQ(run,
              (ToolRun{1, run.out,
                       "ambrel-shp: warning: map.shp: record 1: it has no position in WGS 84; its "
                       "geometry is left out\n"}));
    Json const features = Json::parse(run.out)["features"];
    EXPECT_NEAR(features[0]["geometry"]["coordinates"][0], 9.0, 1e-9);
    EXPECT_NEAR(features[0]["geometry"]["coordinates"][1], 0.0, 1e-9);
    EXPECT_TRUE(features[1]["geometry"].is_null());
}

TEST_F(Export, WritesGeoJsonInWgs84AndOtherFormatsInTheLayersOwnSystem) {
    Write(ShapefileBuilder(1).Point(500000, 0).File(".prj", "EPSG:32632"));
    auto const position = [](std::string const& options) {
        Json const all = RunForJson("export map.shp" + options);
        Json const place = all["features"][0]["geometry"]["coordinates"];
        std::string const x = std::to_string(place[0].get<double>());
        return x + (all.contains("crs") ? " " + all["crs"]["properties"]["name"].dump() : "");
    };
    EXPECT_EQ(position(""), "9.000000");
    EXPECT_EQ(position(" --to-crs source"), "500000.000000 \"urn:ogc:def:crs:EPSG::32632\"");
    EXPECT_EQ(position(" --to-crs EPSG:3857"), "1001875.417139 \"urn:ogc:def:crs:EPSG::3857\"");
    EXPECT_EQ(position(" --crs EPSG:32633"), "15.000000");
    EXPECT_EQ(position(" --bbox 499999,-1,500001,1"), "9.000000");
    EXPECT_EQ(RunTool("export map.shp --format csv"), Printed("id,wkt\r\n1,POINT (500000 0)\r\n"));
    EXPECT_EQ(RunTool("export map.shp --to-wgs84 --to-crs EPSG:3857").exitCode, 2);
    EXPECT_EQ(RunTool("export map.shp --to-crs nonsense").exitCode, 2);
}

TEST_F(Export, KeepsEveryDigitAndSaysWhatItCannotKnow) {
    ShapefileBuilder builder(1);
    Write(builder.Point(0.1, 1e-17));
    std::string const unknown = "ambrel-shp: warning: map.shp: the coordinate system is not known, "
                                "so the coordinates stay as they are; see --crs\n";
    ToolRun const run = RunToolVerbatim("export map.shp");
    EXPECT_EQ(run, (ToolRun{0, run.out, unknown}));
    EXPECT_NE(run.out.find("[0.1,1e-17]"), std::string::npos) << run;
    EXPECT_EQ(RunToolVerbatim("export map.shp --crs EPSG:4326"), Printed(run.out));

    Write(builder.Point(727, 971).File(".prj", "EPSG:4269"));
    ToolRun const wrong = RunTool("export map.shp");
    EXPECT_EQ(wrong.exitCode, 1) << wrong;
    EXPECT_NE(wrong.out.find("[727,971]"), std::string::npos) << wrong;
    EXPECT_EQ(wrong.err, "ambrel-shp: warning: map.shp: 1 record has longitudes and latitudes that "
                         "cannot be such; is the .prj file wrong? See --crs\n");
    EXPECT_EQ(
        RunTool("check map.shp").out,
        "map.shp: record 1: it is said to be in longitudes and latitudes, and has coordinates "
        "that cannot be such\nmap.shp: 2 records, 1 problem\n");
}

TEST_F(Export, LeavesOutDeletedRowsInEveryMode) {
    TableBuilder table;
    table.Field("id", 'N', 1).Row({"7"}).RawRow({'*', '8'}).Row({"9"});
    ShapefileBuilder builder(1);
    Write(builder.Point(1, 2).Point(3, 4).Point(5, 6).Table(table));
    for (std::string const& mode : modes) {
        ToolRun const run = RunTool("export map.shp --mode " + mode);
        EXPECT_EQ(run.err, "ambrel-shp: warning: map.shp: 1 deleted row is left out; "
                           "--with-deleted keeps them\n");
        Json const features = Json::parse(run.out)["features"];
        ASSERT_EQ(features.size(), 2U) << run;
        EXPECT_EQ(features[1]["id"], 2);
        EXPECT_EQ(RunForJson("export map.shp --with-deleted --mode " + mode)["features"].size(),
                  3U);
    }
    EXPECT_EQ(RunTool("check map.shp"),
              Printed("map.shp: 3 records, no problems, 1 deleted row\n"));
    EXPECT_EQ(RunTool("select map.shp --bbox 0,0,9,9"), Printed("0\n2\n"));
    EXPECT_EQ(RunForJson("info --json map.shp")[0]["deletedRows"], 1);
}

TEST_F(Export, HoldsOneBudgetInEveryMode) {
    // A record of 640 KB that the index names four times: the first three are within twice the
    // file.
    ShapefileBuilder builder(8);
    builder.MultiPoint(Vertices(40000, {1, 2}));
    for (int i = 0; i < 3; ++i) {
        builder.IndexEntry(50, 320020);
    }
    builder.Row({}).Row({}).Row({}).Row({});
    Write(builder);
    ToolRun const expected = RunTool("export map.shp --format csv --no-attributes");
    EXPECT_EQ(expected.exitCode, 1);
    EXPECT_EQ(std::count(expected.out.begin(), expected.out.end(), '\n'), 3);
    for (std::string const& mode : modes) {
        EXPECT_TRUE(RunTool("export map.shp --format csv --no-attributes --mode " + mode) ==
                    expected)
            << mode;
    }
    // Without a length in the first entry, a whole read would end there.
    Write(ShapefileBuilder(1).Point(1, 2).IndexLength(0).Point(3, 4));
    for (std::string const& mode : modes) {
        EXPECT_EQ(RunTool("export map.shp --format csv --mode " + mode).out,
                  "id,wkt\r\n1,\r\n2,POINT (3 4)\r\n")
            << mode;
    }
}

TEST_F(Export, LeavesOutFieldsOfNoWidth) {
    Write(ShapefileBuilder(1).Field("a", 'N', 1).Field("b", 'C', 0).Row({"1", ""}).Point(1, 2));
    EXPECT_EQ(RunTool("export map.shp --format csv"),
              (ToolRun{0, "a,wkt\r\n1,POINT (1 2)\r\n",
                       "ambrel-shp: warning: map.shp: the field b has a width of 0 and is left "
                       "out\n"}));
}

TEST_F(Export, ReplacesAFileOnlyWhenItIsComplete) {
    namespace fs = std::filesystem;
    constexpr auto permissions = fs::perms(0640);
    fs::create_directory("out");
    WriteFile("out/map.json", {'o', 'l', 'd'});
    fs::permissions("out/map.json", permissions);
    fs::create_symlink("out/map.json", "link");

    Write(ShapefileBuilder(1).Point(1, 2));
    for (std::string const& mode : modes) {
        Tool::SetInterrupted(true);
        EXPECT_EQ(RunTool("export map.shp -o link --mode " + mode), Failed(130, "stopped"));
        Tool::SetInterrupted(false);
    }
    EXPECT_EQ(TextOf("out/map.json"), "old");

    EXPECT_EQ(RunTool("export map.shp -o link"), Printed(""));
    EXPECT_EQ(TextOf("out/map.json"), RunTool("export map.shp -o -").out);
    EXPECT_TRUE(fs::is_symlink("link"));
    EXPECT_EQ(fs::status("link").permissions(), permissions);
    fs::remove("out/map.json");
    EXPECT_TRUE(fs::is_empty("out"));
    EXPECT_EQ(RunTool("export map.shp -o link"), Printed(""));
    EXPECT_TRUE(fs::is_symlink("link") && fs::exists("out/map.json"));
}

TEST_F(Export, WritesOverNoShapefileThroughALink) {
    Write(ShapefileBuilder(1).Point(1, 2));
    std::filesystem::create_directory("out");
    std::filesystem::create_symlink("../map.shp", "out/map.geojson");
    std::filesystem::create_symlink("../map.dbf", "out/map.png");
    Bytes const before = ReadFile("map.shp");
    for (char const* const line : {"export map.shp -o out/map.geojson", "export map.shp -o out",
                                   "draw map.shp -o out/map.png"}) {
        ToolRun const run = RunTool(line);
        EXPECT_EQ(run.exitCode, 2) << run;
        EXPECT_NE(run.err.find("would be taken for a part of a shapefile"), std::string::npos)
            << run;
    }
    EXPECT_EQ(ReadFile("map.shp"), before);
    EXPECT_EQ(RunTool("check map.shp").exitCode, 0);
}

TEST_F(Export, LosesNothingThatIsSoundBehindARecordThatCanNotBeRead) {
    TableBuilder table;
    table.Field("id", 'N', 3).Row({"7"}).Row({"8"}).Row({"9"});
    ShapefileBuilder builder(1);
    builder.Point(1, 2).Raw({31, 0, 0, 0}).Point(3, 4).Point(5, 6);
    Write(builder.Table(table));
    std::string const mismatch = "the table has only 3 rows";
    for (std::string const& mode : modes) {
        EXPECT_EQ(RunTool("export map.shp --format csv --mode " + mode),
                  (ToolRun{1, "id,wkt\r\n7,POINT (1 2)\r\n9,POINT (3 4)\r\n,POINT (5 6)\r\n",
                           "ambrel-shp: warning: map.shp: record 1: it is left out: "
                           "Multipatch geometry is not "
                           "supported.\n"
                           "ambrel-shp: warning: map.shp: record 3: it has no attributes: " +
                               mismatch + "\n"}));
    }
}

TEST_F(Export, GivesFieldsOfOneNameNamesOfTheirOwn) {
    ShapefileBuilder builder(1);
    builder.Field("a", 'N', 1).Field("a", 'N', 1).Field("a_2", 'N', 1).Field("wkt", 'N', 1);
    Write(builder.Row({"1", "2", "3", "4"}).Null());
    EXPECT_EQ(RunTool("export map.shp --format csv"),
              Printed("a,a_3,a_2,wkt_2,wkt\r\n1,2,3,4,\r\n"));
    EXPECT_EQ(RunForJson("export map.shp")["features"][0]["properties"],
              Json::parse(R"({"a": 1, "a_3": 2, "a_2": 3, "wkt": 4})"));
}

TEST_F(Export, WritesToADeviceAndSaysWhatItCanNotDo) {
    Write(ShapefileBuilder(1).Point(1, 2));
    EXPECT_EQ(RunTool("export map.shp -o /dev/null"), Printed(""));
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    EXPECT_EQ(RunTool("export map.shp -o /dev/full"),
              Failed(1, "cannot write /dev/full: No space left on device"));
    EXPECT_EQ(RunTool("export map.shp -o no/such/file.json"),
              Failed(1, "cannot write no/such/file.json: No such file or directory"));
    EXPECT_EQ(RunTool("export map.shp --to-wgs84"),
              Failed(1, "--to-crs: the coordinate system of the layer is not "
                        "known; see --crs (map.shp)"));
}

TEST_F(Export, WritesAFileForEachLayerOfAFolder) {
    Write(ShapefileBuilder(1).Point(1, 2), "a");
    Write(ShapefileBuilder(1).Point(3, 4), "b");
    std::filesystem::create_directory("out");
    EXPECT_EQ(RunTool("export . -o out --format csv"), Printed(""));
    EXPECT_EQ(TextOf("out/a.csv"), "id,wkt\r\n1,POINT (1 2)\r\n");
    EXPECT_EQ(TextOf("out/b.csv"), "id,wkt\r\n1,POINT (3 4)\r\n");
    EXPECT_EQ(RunTool("export a.shp -o a.CSV"), Printed(""));
    EXPECT_EQ(TextOf("a.CSV"), TextOf("out/a.csv"));
    Write(ShapefileBuilder(1).Point(5, 6), "B");
    std::filesystem::rename("B.shp", "b.SHP");
    EXPECT_EQ(RunTool("export . -o out"),
              Failed(2, "out/b.geojson would be made of two layers: b.SHP and b.shp"));
    EXPECT_FALSE(std::filesystem::exists("out/a.geojson"));
    std::filesystem::remove("b.SHP");
    EXPECT_EQ(RunTool("export ."), Failed(2, "2 layers need a folder; add --output FOLDER/"));
}

} // namespace
} // namespace Ambrel::Test
