#include "ToolRun.h"

namespace Ambrel::Test {
namespace {

using CommandLine = ToolTest;

TEST_F(CommandLine, RefusesWrongUsageInOneLine) {
    Write(ShapefileBuilder(1).Point(1, 2));
    for (char const* const line :
         {"info", "info --nonsense map.shp", "export map.shp extra", "export map.shp --format kml",
          "export map.shp --mode magic", "export map.shp --bbox 1,2,3",
          "export map.shp --bbox 1,2,3,4,5", "export map.shp --bbox 5,0,1,1",
          "export map.shp --bbox nan,0,1,1", "export map.shp --encoding Klingon", "select map.shp",
          "draw map.shp", "draw map.shp -o map.bmp", "draw map.shp -o map.png --size 100",
          "draw map.shp -o map.png --size 0x100", "draw map.shp -o map.png --style color",
          "draw map.shp -o map.png --style color=perhaps",
          "draw map.shp -o map.png --style width=-1",
          "draw map.shp -o map.png --style map:shade=red"}) {
        ToolRun const run = RunTool(line);
        EXPECT_EQ(run, (ToolRun{2, "", run.err})) << line;
        EXPECT_TRUE(run.err.starts_with("ambrel-shp: usage: ")) << run;
        EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run;
    }
}

TEST_F(CommandLine, ExplainsItself) {
    ToolRun const help = RunTool("--help");
    EXPECT_TRUE(help.out.starts_with("Looks into shapefiles")) << help;
    EXPECT_EQ(help, Printed(help.out));
    EXPECT_EQ(RunTool(""), (ToolRun{2, "", help.out}));
}

TEST_F(CommandLine, ShowsTheLogWhenAsked) {
    Write(ShapefileBuilder(1).Point(1, 2));
    for (char const* const line : {"info map.shp --verbose", "-v info map.shp"}) {
        std::string const log = RunTool(line).err;
        EXPECT_NE(log.find("SHP-Reader: Using direct access features\n"), std::string::npos) << log;
    }
}

} // namespace
} // namespace Ambrel::Test
