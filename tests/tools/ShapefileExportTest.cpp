#include "ToolRun.h"

namespace Ambrel::Test {
namespace {

using ShapefileExport = ToolTest;

Texts NewFiles() {
    Texts names;
    for (auto const& entry : std::filesystem::directory_iterator(".")) {
        if (entry.path().stem() == "new") {
            names.push_back(entry.path().extension().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

/// What is read of the new shapefile is what is read of the source.
TEST_F(ShapefileExport, KeepsGeometryZAndMeasuresAndValues) {
    for (std::int32_t const type : {1, 3, 5, 8, 11, 13, 15, 18, 21, 23, 25, 28}) {
        SCOPED_TRACE(type);
        Write(type % 10 == 5
                  ? ShapefileBuilder(type).Polygon(
                        {{{0, 0}, {0, 9}, {9, 9}, {0, 0}}, {{1, 2}, {2, 2}, {2, 3}, {1, 2}}},
                        type / 10 == 1 ? Reals{1, 2, 3, 1, 4, 5, 6, 4} : Reals(),
                        type > 10 ? Reals{1, 2, 3, 1, 4, 5, 6, 4} : Reals())
              : type % 10 == 1 ? ShapefileBuilder(type).Point(1, 2).Null()
                               : SmallFile(type));
        EXPECT_EQ(RunTool("export map.shp -o new.shp"), Printed(""));
        for (char const* const format : {"geojson", "csv"}) {
            std::string const option = std::string(" --format ") + format;
            std::string expected = RunTool("export map.shp" + option).out;
            // A line without vertices, and a multipoint, is a null shape.
            for (auto const& [given, written] :
                 {std::pair{R"("name":"map")", R"("name":"new")"},
                  {R"({"type":"MultiPoint","coordinates":[]})", "null"},
                  {"MULTIPOINT EMPTY", ""},
                  {"MULTIPOINT Z EMPTY", ""},
                  {"MULTIPOINT M EMPTY", ""},
                  {"MULTIPOINT ZM EMPTY", ""}}) {
                if (std::size_t const at = expected.find(given); at != std::string::npos) {
                    expected.replace(at, std::string(given).size(), written);
                }
            }
            if (type % 10 != 3) { // of which a part without vertices is left out
                EXPECT_EQ(RunTool("export new.shp" + option).out, expected);
            }
        }
        EXPECT_EQ(RunTool("check new.shp").exitCode, 0);
    }
}

TEST_F(ShapefileExport, KeepsTheEncodingOfTheSourceOrTakesAnother) {
    Write(ShapefileBuilder(1)
              .Point(1, 2)
              .Field("text", 'C', 4)
              .Row({"\xCC\xE8\xF0z"})
              .File(".cpg", "1251"));
    EXPECT_EQ(RunTool("export map.shp -o new.shp"), Printed(""));
    EXPECT_EQ(TextOf("new.cpg"), "windows-1251");
    EXPECT_EQ(RunTool("export new.shp --format csv").out,
              "text,wkt\r\n\xD0\x9C\xD0\xB8\xD1\x80z,POINT (1 2)\r\n");
    EXPECT_EQ(RunTool("export map.shp -o new.shp --output-encoding 1252"),
              Failed(1, "warning: new.shp: 3 letters are not in the encoding and became "
                        "\"?\" (map.shp)"));
    EXPECT_EQ(RunTool("export new.shp --format csv").out, "text,wkt\r\n???z,POINT (1 2)\r\n");
}

TEST_F(ShapefileExport, RepairsWhatHasNoIndexAndACutTable) {
    ShapefileBuilder builder(1);
    builder.Point(1, 2).Point(3, 4).Without(".shx");
    Write(builder.Cut(".dbf", builder.Files().at(".dbf").size() - 3));
    EXPECT_NE(RunTool("repair map.shp -o new.shp").err, "");
    EXPECT_EQ(std::filesystem::file_size("new.shx"), 116U);
    EXPECT_EQ(RunTool("check new.shp").exitCode, 0);
    std::string const rows = RunTool("export new.shp --format csv").out;
    EXPECT_NE(rows.find("1,POINT (1 2)"), std::string::npos) << rows;
    EXPECT_NE(rows.find(",POINT (3 4)"), std::string::npos) << rows;
}

TEST_F(ShapefileExport, LeavesNothingWhereItFails) {
    Write(SmallFile(1));
    for (auto const& [command, complaint] :
         {std::pair{"export map.shp -o map.shp", "--output: map.shp is what is read"},
          {"export map.shp -o new.dbf --format shp",
           "--output: the name of a shapefile ends with .shp"},
          {"export map.shp -o new.shp --output-encoding UTF-16",
           "--output-encoding: UTF-16 is no encoding that a table can have"},
          {"export map.shp -o new.csv --output-encoding 1252",
           "--output-encoding: csv is always in UTF-8"}}) {
        EXPECT_EQ(RunTool(command), Failed(2, complaint));
        EXPECT_EQ(NewFiles(), Texts());
    }
    // A line in a file of points.
    ShapefileBuilder mixed(1);
    mixed.Point(1, 2).Raw(ByteList()
                              .Little32(3)
                              .Reals({0, 0, 1, 1})
                              .Little32(1)
                              .Little32(2)
                              .Little32(0)
                              .Reals({0, 0, 1, 1}));
    Write(mixed);
    ToolRun const run = RunTool("export map.shp -o new.shp");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("record 1 cannot be written"), std::string::npos) << run.err;
    EXPECT_EQ(NewFiles(), Texts());
}

} // namespace
} // namespace Ambrel::Test
