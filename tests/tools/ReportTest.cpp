// What the tool tells about files and their records: info, check and select.

#include "ToolRun.h"

#include <algorithm>

namespace Ambrel::Test {
namespace {

using Json = nlohmann::json;
using Info = ToolTest;

TEST_F(Info, DescribesALayerForProgramsAndForPeople) {
    ShapefileBuilder builder(15);
    builder.Field("größe", 'C', 12).Field("small", 'N', 4).Field("large", 'N', 12);
    builder.Field("real", 'N', 9, 3).Field("day", 'D', 8).Field("yes", 'L', 1).Row({}).Row({});
    builder.Polygon({{{-1, 2}, {-1, 5}, {4, 5}, {-1, 2}}}, {7, 8, 9, 7}, {1, 2, 3, 1.5}).Null();
    Write(builder.File(".cpg", "UTF-8").File(".prj", "EPSG:4326"));
    Json layers = RunForJson("--json map");
    EXPECT_TRUE(std::string(layers[0]["wkt"]).starts_with("GEOGCRS[\"WGS 84\""));
    layers[0].erase("wkt");
    EXPECT_EQ(layers, Json::parse(R"([{
        "name": "map", "path": "map.shp",
        "shapeType": 15, "shapeTypeName": "PolygonZ", "geometryClass": "areas",
        "records": 2, "deletedRows": 0,
        "extent": [-1.0, 2.0, 4.0, 5.0], "zRange": [7.0, 9.0], "measureRange": [1.0, 3.0],
        "crs": "WGS 84", "epsg": 4326, "encoding": {"name": "UTF-8", "from": ".cpg file"},
        "fields": [{"name": "größe", "type": "string", "width": 12, "decimals": 0},
                   {"name": "small", "type": "integer", "width": 4, "decimals": 0},
                   {"name": "large", "type": "integer64", "width": 12, "decimals": 0},
                   {"name": "real", "type": "double", "width": 9, "decimals": 3},
                   {"name": "day", "type": "date", "width": 8, "decimals": 0},
                   {"name": "yes", "type": "boolean", "width": 1, "decimals": 0}]}])"));
    EXPECT_EQ(RunTool("map.shp"), Printed(R"(map
  file      map.shp
  type      PolygonZ (15), areas
  records   2
  extent    x -1 to 4, y 2 to 5
  z         7 to 9
  measures  1 to 3
  crs       WGS 84 (EPSG:4326)
  encoding  UTF-8 (.cpg file)
  fields    größe         string(12)
            small         integer(4)
            large         integer64(12)
            real          double(9.3)
            day           date(8)
            yes           boolean(1)
)"));
    EXPECT_EQ(RunTool("info --brief map.shp"),
              Printed("map.shp: PolygonZ, 2 records, WGS 84 (EPSG:4326)\n"));
}

TEST_F(Info, SaysWhatIsNotKnown) {
    Write(ShapefileBuilder(1).Extent(0, notANumber, 1, 1));
    Json const layer = RunForJson("info map.shp --json")[0];
    EXPECT_EQ(layer["extent"].dump(), "[0.0,null,1.0,1.0]");
    EXPECT_EQ(Json({layer["zRange"], layer["measureRange"], layer["crs"], layer["epsg"]}).dump(),
              "[null,null,null,null]");
    Write(ShapefileBuilder(-1).Extent(9, 9, -9, -9));
    std::string const text = RunTool("map.shp").out;
    EXPECT_NE(text.find("  type      unknown (-1), none\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  extent    none\n"), std::string::npos) << text;
}

TEST_F(Info, SendsNoCommandsToTheTerminal) {
    Write(ShapefileBuilder(1)
              .Field("a\033[2Jb", 'C', 3)
              .Field("\xC2\x9B"
                     "2J",
                     'C', 3),
          "c\033[2Jd");
    std::string const text = RunTool("info .").out + RunTool("check .").out;
    EXPECT_NE(text.find("c [2Jd"), std::string::npos) << text;
    EXPECT_EQ(text.find_first_of("\033\x9B"), std::string::npos) << text;
}

TEST_F(Info, ShowsTheOthersWhenOneFileIsBad) {
    std::filesystem::create_directory("empty");
    Write(ShapefileBuilder(1), "a");
    Write(ShapefileBuilder(1).Version(999), "b");
    Write(ShapefileBuilder(1), "c");
    ToolRun const run = RunTool("info --json . /no/such/file.shp empty");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err,
              "ambrel-shp: no shapefile in "
              "empty\n"
              "ambrel-shp: b.shp is no shapefile that can be read: its version is not 1000 "
              "(bytes e7 03 00 00)\n"
              "ambrel-shp: /no/such/file.shp is not there\n");
    Json const layers = Json::parse(run.out);
    ASSERT_EQ(layers.size(), 2U);
    EXPECT_EQ(layers[1]["name"], "c");
}

using Check = ToolTest;

TEST_F(Check, TellsWhatIsLegalButOdd) {
    Write(ShapefileBuilder(13).Null().Null().Polyline({{{1, 2}, {3, 4}}}, {5, 6}).MRange(0, 1));
    EXPECT_EQ(RunTool("check map.shp"),
              Printed("map.shp: 3 records, no problems, 2 null shapes, 1 without measures\n"));
    Write(ShapefileBuilder(3).Polyline({{{1, 2}, {3, 4}}, {{5, 6}}}));
    EXPECT_EQ(RunTool("check map.shp"),
              Printed("map.shp: 1 record, no problems, 1 with a part of too few vertices\n"));
}

TEST_F(Check, NamesExactlyWhatIsDamagedAndEachProblemOnce) {
    Parts const line = {{{1, 2}, {3, 4}}};
    TableBuilder table;
    table.Field("id", 'N', 3).RecordCount(6).End({0x1A, 0, 0, 0});
    ShapefileBuilder builder(3);
    builder.Polyline(line).Polyline(line).CutContent(50).Polyline(line).Raw({31, 0, 0, 0});
    builder.Polyline(line).IndexLength(40).ContentLength(39).Polyline(line).Table(table);
    Write(builder);
    EXPECT_EQ(RunTool("check map.shp").exitCode, 1);
    Write(ShapefileBuilder(1).Version(999), "unreadable");
    // The first file is opened once more for the records behind the one that throws.
    EXPECT_EQ(
        RunTool("check ."),
        (ToolRun{2,
                 "map.shp: the table holds 1 of the 6 rows that it states; the others have "
                 "no values\n"
                 "map.shp: record 1: it counts more vertices than it has bytes for; its "
                 "geometry is left out\n"
                 "map.shp: record 3: it is left out: "
                 "Multipatch geometry is not supported.\n"
                 "map.shp: record 4: its length is 40 in the index and 39 in the main file\n"
                 "map.shp: 6 records, 4 problems, 5 missing values\n"
                 "2 files, 6 records, 4 problems in 1 file, 1 unreadable\n",
                 "ambrel-shp: unreadable.shp is no shapefile that can be read: its version is "
                 "not 1000 (bytes e7 03 00 00)\n"}));
}

TEST_F(Check, TellsOfRecordsThatTheIndexLost) {
    Write(ShapefileBuilder(1).Point(1, 2).Point(1e30, 2).Cut(".shx", 115));
    EXPECT_EQ(RunTool("check map.dbf map.shp"),
              (ToolRun{1,
                       "map.shp: the index is cut\n"
                       "map.shp: there is a record behind the last one that the index names\n"
                       "map.shp: the table has 2 rows for 1 record\n"
                       "map.shp: 1 record, 3 problems\n",
                       ""}));
    Write(ShapefileBuilder(1).Point(1, 2).Point(1e30, 2));
    EXPECT_EQ(RunTool("check map.prj map.shx map.shp"),
              Printed("map.shp: 2 records, no problems, 1 without a position\n"));
    Write(ShapefileBuilder(1).Point(1, 2).Cut(".shx", 100));
    EXPECT_EQ(RunTool("check map.shp").out,
              "map.shp: the index is missing or unusable; 1 record was found in the main file\n"
              "map.shp: 1 record, 1 problem\n");
}

TEST_F(Check, TellsWhatIsDoneWithout) {
    Write(ShapefileBuilder(1).Point(1, 2).Table(TableBuilder().HeaderLength(1)));
    EXPECT_EQ(RunTool("check map.shp"),
              (ToolRun{1,
                       "map.shp: the table's header cannot be right: it has 1 byte, and a row 1\n"
                       "map.shp: the table is missing or unusable; there are no attributes\n"
                       "map.shp: 1 record, 2 problems\n",
                       ""}));
    std::filesystem::remove("map.dbf");
    std::filesystem::remove("map.shx");
    ToolRun const run = RunTool("export map.shp --format csv");
    EXPECT_EQ(run.exitCode, 0) << run;
    EXPECT_EQ(run.out, "wkt\r\nPOINT (1 2)\r\n");
    EXPECT_NE(run.err.find("the index is missing or unusable"), std::string::npos) << run;
}

TEST_F(Check, HoldsTheIndexAgainstTheMainFile) {
    // Bytes that are no record may stand anywhere.
    ShapefileBuilder sound(1);
    sound.Point(1, 2).Junk(Bytes(16)).Point(3, 4).Junk(Bytes(16));
    Write(sound);
    EXPECT_EQ(RunTool("check map.shp"), Printed("map.shp: 2 records, no problems\n"));
    Write(ShapefileBuilder(1).Point(1, 2).Point(3, 4).IndexOffset(50).Point(5, 6));
    EXPECT_EQ(RunTool("check map.shp").out,
              "map.shp: 1 index entry names a record that another one names\n"
              "map.shp: 3 records, 1 problem\n");
    Write(ShapefileBuilder(23)
              .Polyline({{{1, 2}, {3, 4}}}, {}, {5, 6})
              .MRange(5, 6)
              .Cut(".shp", 196));
    EXPECT_EQ(RunTool("check map.shp").out, "map.shp: 24 bytes of the last record are missing\n"
                                            "map.shp: 1 record, 1 problem, 1 without measures\n");
}

TEST_F(Check, TellsOfRingsAndBoxesThatAreNotAsTheyShouldBe) {
    Vertices const bowTie = {{0, 0}, {9, 9}, {9, 0}, {0, 9}, {0, 0}};
    ShapefileBuilder builder(5);
    builder.Polygon({{{0, 0}, {0, 9}, {9, 9}}}).Polygon({bowTie});
    builder.Polygon({{{0, 0}, {5, 5}, {0, 0}, {0, 0}}});
    builder.Polygon({{{1, 1}, {1, 2}, {2, 2}, {1, 1}}}).Patch(4, ByteList().Real(-7));
    Write(builder.Extent(0, 0, 9, 8));
    EXPECT_EQ(RunTool("check map.shp"),
              (ToolRun{1,
                       "map.shp: record 3: the box that it states is not that of its vertices\n"
                       "map.shp: the box that the header states is not that of the vertices\n"
                       "map.shp: 4 records, 2 problems, 1 with a part of too few vertices, 1 with "
                       "an open ring, 1 with a ring that crosses itself, 2 with a ring without "
                       "area\n",
                       ""}));
}

TEST_F(Check, PrintsTenOfAKindAndTheNumberOfTheOthers) {
    ShapefileBuilder builder(3);
    for (int i = 0; i < 12; ++i) {
        builder.Polyline({{{1, 2}, {3, 4}}}).CutContent(50);
    }
    Write(builder);
    auto const lines = [](std::string const& text) {
        return std::count(text.begin(), text.end(), '\n');
    };
    ToolRun const run = RunTool("check map.shp");
    EXPECT_EQ(lines(run.out), 12) << run;
    EXPECT_NE(run.out.find("map.shp: … and 2 more of that kind (counts-do-not-fit)\n"),
              std::string::npos);
    EXPECT_EQ(lines(RunTool("check --all map.shp").out), 13);
    EXPECT_EQ(lines(RunTool("export map.shp --format csv").err), 11);
}

TEST_F(Check, SpeaksToProgramsAndToThoseWhoWantTheBadAlone) {
    Write(ShapefileBuilder(1).Point(1, 2).Null(), "a");
    Write(ShapefileBuilder(1).Point(1, 2).ContentLength(9).Point(3, 4), "b");
    ToolRun const run = RunTool("check --json .");
    EXPECT_EQ(run.exitCode, 1) << run;
    EXPECT_EQ(Json::parse(run.out), Json::parse(R"({"files": [
        {"path": "a.shp", "records": 2, "problems": 0, "counts": {"null-shape": 1}, "listed": []},
        {"path": "b.shp", "records": 2, "problems": 1, "counts": {"lengths-differ": 1}, "listed": [
            {"finding": "lengths-differ", "record": 0,
             "text": "record 0: its length is 10 in the index and 9 in the main file"}]}],
        "total": {"records": 4, "problems": 1, "unreadable": 0}})"));
    EXPECT_EQ(RunTool("check --quiet .").out,
              "b.shp: record 0: its length is 10 in the index and 9 in the main file\n"
              "b.shp: 2 records, 1 problem\n");
    EXPECT_EQ(RunTool("check --quiet a.shp"), Printed(""));
}

using Select = ToolTest;

TEST_F(Select, TakesTheRecordsWhoseRectangleMeetsTheWindow) {
    ShapefileBuilder builder(3);
    builder.Polyline({{{0, 0}, {2, 2}}}).Null().Polyline({{{2, 2}, {9, 9}}});
    builder.Polyline({{{3, 0}, {9, 1}}}).Polyline({{{-5, -5}, {20, 20}}});
    Write(builder);
    std::string const selection = " map.shp --bbox 2,2,2,2";
    EXPECT_EQ(RunTool("select" + selection), Printed("0\n2\n4\n"));
    EXPECT_EQ(RunForJson("select --json" + selection), Json({0, 2, 4}));
    Json const exported = RunForJson("export" + selection)["features"];
    EXPECT_EQ(exported.size(), 3U);
    EXPECT_EQ(exported[1]["id"], 2);
    EXPECT_EQ(RunTool("select map.shp --bbox 30,30,40,40"), Printed(""));
    EXPECT_EQ(RunForJson("select --json map.shp --bbox 30,30,40,40"), Json::array());
}

} // namespace
} // namespace Ambrel::Test
