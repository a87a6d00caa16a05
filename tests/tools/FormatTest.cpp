#include "ToolRun.h"

namespace Ambrel::Test {
namespace {

using FormatTest = ToolTest;

TEST_F(FormatTest, GoesByTheNameAndElseByTheExtension) {
    Write(ShapefileBuilder(1).Field("n", 'N', 2).Row({"7"}).Point(1, 2));
    std::string const feature = R"({"type":"Feature","id":0,"geometry":{"type":"Point",)"
                                R"("coordinates":[1,2]},"properties":{"n":7}})";
    std::string const collection = R"({"type":"FeatureCollection","name":"map","features":[)"
                                   "\n" +
                                   feature + "\n]}\n";
    std::string const csv = "n,wkt\r\n7,POINT (1 2)\r\n";
    std::tuple<std::string, std::string> const cases[] = {
        {"a.json", collection},
        {"a.GeoJSON", collection},
        {"a.geojsonl", feature + "\n"},
        {"a.ndjson", feature + "\n"},
        {"a.geojsons", "\x1E" + feature + "\n"},
        {"a.CSV", csv},
        {"a.txt --format Csv", csv},
    };
    for (auto const& [output, expected] : cases) {
        EXPECT_EQ(RunTool("export map.shp -o " + output), Printed(""));
        EXPECT_EQ(TextOf(output.substr(0, output.find(' '))), expected) << output;
    }
    for (std::string const wrong : {"a.kml", "a"}) {
        EXPECT_EQ(RunTool("export map.shp -o " + wrong).exitCode, 2) << wrong;
        EXPECT_FALSE(std::filesystem::exists(wrong));
    }
    EXPECT_EQ(RunTool("export map.shp --format kml").exitCode, 2);
}

TEST_F(FormatTest, WritesTheGeometryOfCsvInTheFormAskedFor) {
    std::string const line = "export map.shp --format csv --geometry ";
    Write(ShapefileBuilder(11)
              .Field("x", 'C', 2)
              .Row({"a"})
              .Row({"b"})
              .Row({"c"})
              .MRange(1, 7)
              .Point(1.5, 2, 3, 4)
              .Null()
              .Point(5, 6, 7, -1e39));
    EXPECT_EQ(RunTool(line + "xy"), Printed("x_2,x,y,z,m\r\na,1.5,2,3,4\r\nb,,,,\r\nc,5,6,7,\r\n"));
    EXPECT_EQ(RunTool(line + "none"), Printed("x\r\na\r\nb\r\nc\r\n"));
    EXPECT_EQ(RunTool(line + "none --no-attributes").exitCode, 2);
    EXPECT_EQ(RunTool(line + "wkt --no-attributes"),
              Printed("wkt\r\nPOINT ZM (1.5 2 3 4)\r\n\"\"\r\nPOINT ZM (5 6 7 nan)\r\n"));
    EXPECT_EQ(RunTool(line + "text").exitCode, 2);
    EXPECT_EQ(RunTool("export map.shp --geometry wkb").exitCode, 2);
    Write(ShapefileBuilder(1).Point(1, 2));
    EXPECT_EQ(RunTool(line + "wkb --no-attributes"),
              Printed("wkb\r\n0101000000000000000000F03F0000000000000040\r\n"));
    Write(ShapefileBuilder(3).Polyline({{{1, 2}, {3, 4}}}));
    EXPECT_EQ(RunTool(line + "xy"), Failed(2, "--geometry xy: map does not consist of points"));
}

TEST_F(FormatTest, GivesEachVertexItsMeasure) {
    std::string const line = "export map.shp --format csv --no-attributes";
    std::tuple<ShapefileBuilder, std::string> const cases[] = {
        {ShapefileBuilder(23).MRange(0, 9).Polyline({{{1, 2}, {3, 4}}, {{5, 6}, {7, 8}}}, {},
                                                    {1, 2, -1e39, 4}),
         "\"MULTILINESTRING M ((1 2 1, 3 4 2), (5 6 nan, 7 8 4))\""},
        {ShapefileBuilder(28).MRange(0, 9).MultiPoint({{1, 2}, {3, 4}}, {}, {8, 9}),
         "\"MULTIPOINT M ((1 2 8), (3 4 9))\""},
        // The vertex that closes a ring has the measure of the first.
        {ShapefileBuilder(15).MRange(0, 9).Polygon({{{0, 0}, {0, 9}, {9, 9}}}, {1, 2, 3},
                                                   {4, 5, 6}),
         "\"POLYGON ZM ((0 0 1 4, 0 9 2 5, 9 9 3 6, 0 0 1 4))\""},
    };
    for (auto const& [builder, expected] : cases) {
        Write(builder);
        EXPECT_EQ(RunTool(line), Printed("wkt\r\n" + expected + "\r\n"));
    }
}

TEST_F(FormatTest, RoundsCoordinatesToThePrecision) {
    Write(ShapefileBuilder(8).MultiPoint({{1.25, -0.001}, {1e21, 123.456}, {10, 2.995}}));
    std::string const line = "export map.shp --format csv --no-attributes --precision ";
    EXPECT_EQ(RunTool(line + "2"),
              Printed("wkt\r\n\"MULTIPOINT ((1.25 0), (1000000000000000000000 123.46), "
                      "(10 3))\"\r\n"));
    EXPECT_EQ(RunTool(line + "0"),
              Printed("wkt\r\n\"MULTIPOINT ((1 0), (1000000000000000000000 123), (10 3))\"\r\n"));
    EXPECT_EQ(RunTool(line + "-1").exitCode, 2);
}

} // namespace
} // namespace Ambrel::Test
