#include "ToolRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Ambrel::Test {
namespace {

using Json = nlohmann::json;

constexpr double noData = -1e39;

class Export : public testing::Test {
protected:
    /// Writes the shapefile "map" and exports it.
    Json Features(ShapefileBuilder const& builder, std::vector<std::string> const& more = {}) {
        std::vector<std::string> arguments = {"export", Text(builder.WriteTo(folder, "map"))};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return RunForJson(arguments)["features"];
    }
    Json FirstGeometry(ShapefileBuilder const& builder) { return Features(builder)[0]["geometry"]; }

    TemporaryFolder folder;
};

TEST_F(Export, WritesAPointFeatureWhole) {
    ShapefileBuilder builder(1);
    builder.Field("name", 'C', 8).Field("level", 'N', 4).Row({"Ba\"se", "-7"}).Point(0.1, -2);
    ToolRun const run = RunTool({"export", Text(builder.WriteTo(folder, "map"))});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out,
              R"({"type":"FeatureCollection","name":"map","features":[)"
              "\n"
              R"({"type":"Feature","id":0,"geometry":{"type":"Point","coordinates":[0.1,-2]},)"
              R"("properties":{"name":"Ba\"se","level":-7}})"
              "\n]}\n");
}

TEST_F(Export, WritesNoFeatures) {
    EXPECT_EQ(Features(ShapefileBuilder(5)), Json::array());
}

TEST_F(Export, WritesEachKindOfGeometry) {
    Vertices const square = {{0, 0}, {0, 9}, {9, 9}, {9, 0}, {0, 0}}; // clockwise: a shell
    Vertices const hole = {{2, 2}, {4, 2}, {4, 4}, {2, 2}};
    Vertices const far = {{20, 0}, {20, 9}, {29, 9}, {20, 0}};
    auto const squareText = "[[0,0],[9,0],[9,9],[0,9],[0,0]]";
    auto const holeText = "[[2,2],[4,4],[4,2],[2,2]]";
    auto const farText = "[[20,0],[29,9],[20,9],[20,0]]";
    std::string const donut = std::string(squareText) + "," + holeText;
    struct {
        ShapefileBuilder builder;
        char const* type;
        std::string coordinates;
    } const cases[] = {
        {ShapefileBuilder(8).MultiPoint({{1, 2}, {3, 4}}), "MultiPoint", "[[1,2],[3,4]]"},
        {ShapefileBuilder(8).MultiPoint({}), "MultiPoint", "[]"},
        {ShapefileBuilder(3).Polyline({{{1, 2}, {3, 4}}}), "LineString", "[[1,2],[3,4]]"},
        {ShapefileBuilder(3).Polyline({{{1, 2}, {3, 4}}, {{5, 6}, {7, 8}}}), "MultiLineString",
         "[[[1,2],[3,4]],[[5,6],[7,8]]]"},
        {ShapefileBuilder(5).Polygon({square}), "Polygon", "[" + std::string(squareText) + "]"},
        {ShapefileBuilder(5).Polygon({square, hole}), "Polygon", "[" + donut + "]"},
        {ShapefileBuilder(5).Polygon({square, hole, far}), "MultiPolygon",
         "[[" + donut + "],[" + farText + "]]"},
        {ShapefileBuilder(11).Point(1, 2, 3), "Point", "[1,2,3]"},
        {ShapefileBuilder(13).Polyline({{{1, 2}, {3, 4}}}, {5, 6}), "LineString",
         "[[1,2,5],[3,4,6]]"},
    };
    for (auto const& c : cases) {
        Json const geometry = FirstGeometry(c.builder);
        EXPECT_EQ(geometry["type"], c.type);
        EXPECT_EQ(geometry["coordinates"], Json::parse(c.coordinates)) << c.type;
    }
}

TEST_F(Export, ClosesAndTurnsASingleRing) {
    EXPECT_EQ(FirstGeometry(ShapefileBuilder(5).Polygon({{{0, 0}, {0, 9}, {9, 9}}}))["coordinates"],
              Json::parse("[[[9,9],[0,9],[0,0],[9,9]]]"));
    EXPECT_EQ(FirstGeometry(ShapefileBuilder(5).Polygon({{{0, 0}, {9, 9}, {0, 9}}}))["coordinates"],
              Json::parse("[[[0,0],[9,9],[0,9],[0,0]]]"));
}

TEST_F(Export, GivesNullForWhatIsNoGeometry) {
    double const infinity = std::numeric_limits<double>::infinity();
    ShapefileBuilder builder(3);
    builder.Null().Polyline({{{0, 0}, {infinity, 1}}}).Polyline({{{0, 0}, {1, 1}}});
    Json const features = Features(builder);
    ASSERT_EQ(features.size(), 3U);
    EXPECT_TRUE(features[0]["geometry"].is_null());
    EXPECT_TRUE(features[1]["geometry"].is_null());
    EXPECT_EQ(features[2]["geometry"]["type"], "LineString");
    EXPECT_EQ(features[2]["id"], 2);
    // A Z that is no number spoils a geometry that has Z.
    EXPECT_TRUE(
        FirstGeometry(ShapefileBuilder(13).Polyline({{{1, 2}, {3, 4}}}, {5, infinity})).is_null());
}

TEST_F(Export, PutsMeasuresBesideTheGeometry) {
    ShapefileBuilder builder(23);
    builder.Polyline({{{1, 2}, {3, 4}, {5, 6}}}, {}, {1.5, noData, std::nan("")})
        .Polyline({{{1, 2}, {3, 4}}});
    Json const features = Features(builder.MRange(0, 9));
    EXPECT_EQ(features[0]["measures"], Json::parse("[1.5,null,null]"));
    EXPECT_EQ(features[0]["geometry"]["coordinates"], Json::parse("[[1,2],[3,4],[5,6]]"));
}

TEST_F(Export, WritesValuesByTheirType) {
    ShapefileBuilder builder(1);
    builder.Field("text", 'C', 5)
        .Field("whole", 'N', 5)
        .Field("long", 'N', 12)
        .Field("real", 'N', 9, 3)
        .Field("day", 'D', 8)
        .Field("yes", 'L', 1)
        .Row({"ä", "12", "123456789012", "1.250", "20210315", "T"})
        .Row({"", "", "", "", "20211399", "?"})
        .Point(1, 1)
        .Point(2, 2);
    Json const features = Features(builder);
    EXPECT_EQ(features[0]["properties"].dump(), R"({"day":"2021-03-15","long":123456789012,)"
                                                R"("real":1.25,"text":"ä","whole":12,"yes":true})");
    EXPECT_EQ(features[1]["properties"]["day"], "20211399");
}

TEST_F(Export, LeavesAttributesOutOnRequest) {
    EXPECT_EQ(Features(ShapefileBuilder(1).Point(1, 2), {"--no-attributes"})[0]["properties"],
              Json::object());
}

TEST_F(Export, TakesZFromAnAttribute) {
    ShapefileBuilder builder(1);
    builder.Field("height", 'N', 6, 1).Row({"12.5"}).Point(1, 2);
    EXPECT_EQ(Features(builder, {"--z-attribute", "height"})[0]["geometry"]["coordinates"],
              Json::parse("[1,2,12.5]"));
    ToolRun const run =
        RunTool({"export", Text(folder.File("map.shp")), "--z-attribute", "missing"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("BAttributeDataException"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("missing"), std::string::npos) << run.err;
}

TEST_F(Export, KeepsToTheRectangleInEveryMode) {
    ShapefileBuilder builder(1);
    builder.Point(0, 0).Null().Point(5, 5).Point(9, 9).Point(5, 6);
    std::string const file = Text(builder.WriteTo(folder, "map"));
    for (char const* const mode : {"stream", "memory", "cache", "direct"}) {
        Json const features =
            RunForJson({"export", file, "--mode", mode, "--bbox", "-1,5,5,9"})["features"];
        ASSERT_EQ(features.size(), 2U) << mode;
        EXPECT_EQ(features[0]["id"], 2);
        EXPECT_EQ(features[1]["id"], 4);
    }
}

TEST_F(Export, GivesTheSameBytesInEveryMode) {
    ShapefileBuilder builder(15);
    builder.Field("name", 'C', 9).Field("day", 'D', 8).MRange(0, 5);
    for (int i = 0; i < 30; ++i) {
        double const x = i * 1.1;
        Parts parts = {{{x, 0}, {x, 9}, {x + 9, 9}, {x, 0}}};
        if (i % 3 == 1) {
            parts.push_back({{x + 1, 6}, {x + 2, 7}, {x + 1, 7}, {x + 1, 6}});
        }
        std::size_t const count = 4 * parts.size();
        builder.Row({"n" + std::to_string(i), "20240101"});
        if (i % 7 == 3) {
            builder.Null();
        } else {
            builder.Polygon(parts, Reals(count, 1.5), Reals(i % 2 * count, 2.5));
        }
    }
    std::string const file = Text(builder.WriteTo(folder, "map"));
    for (char const* const format : {"geojson", "csv"}) {
        std::string const streamed = RunTool({"export", file, "--format", format}).out;
        EXPECT_GT(streamed.size(), 2000U);
        for (char const* const mode : {"memory", "cache", "direct"}) {
            EXPECT_EQ(RunTool({"export", file, "--format", format, "--mode", mode}).out, streamed)
                << mode;
        }
    }
}

TEST_F(Export, TransformsToLongitudeAndLatitude) {
    // UTM zone 32: the central meridian lies at 500,000 m. The third point is on no map of it.
    ShapefileBuilder builder(1);
    builder.Point(500000, 0)
        .Null()
        .Point(1e12, 1e12)
        .Prj(R"(PROJCS["WGS_1984_UTM_Zone_32N",GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1984",)"
             R"(SPHEROID["WGS_1984",6378137,298.257223563]],PRIMEM["Greenwich",0],)"
             R"(UNIT["Degree",0.0174532925199433]],PROJECTION["Transverse_Mercator"],)"
             R"(PARAMETER["False_Easting",500000],PARAMETER["False_Northing",0],)"
             R"(PARAMETER["Central_Meridian",9],PARAMETER["Scale_Factor",0.9996],)"
             R"(PARAMETER["Latitude_Of_Origin",0],UNIT["Meter",1]])");
    ToolRun const run = RunTool({"export", Text(builder.WriteTo(folder, "map")), "--to-wgs84"});
    EXPECT_EQ(run.exitCode, 0);
    Json const features = Json::parse(run.out)["features"];
    EXPECT_NEAR(features[0]["geometry"]["coordinates"][0], 9.0, 1e-9);
    EXPECT_NEAR(features[0]["geometry"]["coordinates"][1], 0.0, 1e-9);
    EXPECT_TRUE(features[2]["geometry"].is_null());
    EXPECT_EQ(run.err, "ambrel-shp: warning: " + Text(folder.File("map.shp")) +
                           ": record 2 has no position in WGS 84; its geometry is left out\n");
}

TEST_F(Export, NeedsACoordinateSystemToTransform) {
    std::string const file = Text(ShapefileBuilder(1).Point(1, 2).WriteTo(folder, "map"));
    ToolRun const run = RunTool({"export", file, "--to-wgs84"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "ambrel-shp: BDataManagerException: --to-wgs84: the coordinate system is "
                       "not known (" +
                           file + ")\n");
    EXPECT_EQ(run.out, "");
}

TEST_F(Export, WritesCsvWithWellKnownText) {
    ShapefileBuilder builder(13);
    builder.Field("name", 'C', 9)
        .Field("size", 'N', 4)
        .Row({"a,b", "1"})
        .Row({"", ""})
        .Polyline({{{1, 2}, {3, 4}}}, {5, 6})
        .Null();
    ToolRun const run =
        RunTool({"export", Text(builder.WriteTo(folder, "map")), "--format", "csv"});
    std::string const expected = "name,size,wkt\r\n"
                                 "\"a,b\",1,\"LINESTRING Z (1 2 5, 3 4 6)\"\r\n";
    EXPECT_EQ(run.out.substr(0, expected.size()), expected);

    struct {
        ShapefileBuilder builder;
        char const* wkt;
    } const cases[] = {
        {ShapefileBuilder(1).Point(1, 2), "POINT (1 2)"},
        {ShapefileBuilder(8).MultiPoint({{1, 2}, {3, 4}}), "\"MULTIPOINT ((1 2), (3 4))\""},
        {ShapefileBuilder(8).MultiPoint({}), "MULTIPOINT EMPTY"},
        {ShapefileBuilder(3).Polyline({{{1, 2}, {3, 4}}, {{5, 6}, {7, 8}}}),
         "\"MULTILINESTRING ((1 2, 3 4), (5 6, 7 8))\""},
        {ShapefileBuilder(5).Polygon({{{0, 0}, {0, 9}, {9, 9}}}),
         "\"POLYGON ((0 0, 0 9, 9 9, 0 0))\""},
        {ShapefileBuilder(5).Null(), ""},
    };
    for (auto const& c : cases) {
        ToolRun const alone = RunTool({"export", Text(c.builder.WriteTo(folder, "one")), "--format",
                                       "csv", "--no-attributes"});
        EXPECT_EQ(alone.out, std::string("wkt\r\n") + c.wkt + "\r\n");
    }
}

TEST_F(Export, FindsLesothoInAHoleOfSouthAfrica) {
    // The two neighbours share the whole border of the enclave.
    Json const features = RunForJson({"export", EXAMPLES_FOLDER "/countries.shp"})["features"];
    EXPECT_EQ(features.size(), 177U);
    auto const ringsOf = [&](std::string const& name) {
        auto const found = std::find_if(features.begin(), features.end(), [&](Json const& feature) {
            return feature["properties"]["name"] == name;
        });
        return found == features.end() ? Json() : (*found)["geometry"]["coordinates"];
    };
    Json const outer = ringsOf("South Africa");
    Json const enclave = ringsOf("Lesotho");
    ASSERT_EQ(outer.size(), 2U);
    ASSERT_EQ(enclave.size(), 1U);
    EXPECT_TRUE(std::is_permutation(outer[1].begin() + 1, outer[1].end(), enclave[0].begin() + 1,
                                    enclave[0].end()));
}

TEST_F(Export, StopsAtARecordThatThrows) {
    ShapefileBuilder builder(1);
    builder.Point(1, 2).Raw({31, 0, 0, 0}).Point(3, 4);
    std::string const file = Text(builder.WriteTo(folder, "map"));
    for (char const* const mode : {"stream", "direct"}) {
        ToolRun const run =
            RunTool({"export", file, "--mode", mode, "-o", Text(folder.File("map.geojson"))});
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.err, "ambrel-shp: BUnknownGeometryException: BShpFile::Read: Multipatch "
                           "geometry is not supported. (" +
                               file + ")\n");
        EXPECT_FALSE(std::filesystem::exists(folder.Path() / "map.geojson"));
    }
}

TEST_F(Export, WritesAFileForEachLayerOfAFolder) {
    ShapefileBuilder(1).Point(1, 2).WriteTo(folder, "a");
    ShapefileBuilder(1).Point(3, 4).WriteTo(folder, "b");
    std::filesystem::create_directory(folder.Path() / "out");
    std::string const in = folder.Path().string();
    EXPECT_EQ(RunTool({"export", in, "-o", in + "/out", "--format", "csv"}).exitCode, 0);
    EXPECT_EQ(TextOf(folder.Path() / "out/a.csv"), "id,wkt\r\n1,POINT (1 2)\r\n");
    EXPECT_EQ(TextOf(folder.Path() / "out/b.csv"), "id,wkt\r\n1,POINT (3 4)\r\n");
    ToolRun const run = RunTool({"export", in});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.err, "ambrel-shp: usage: " + in + " stands for 2 shapefiles; name one of them\n");
}

} // namespace
} // namespace Ambrel::Test
