#include "Interrupt.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

namespace Ambrel::Test {
namespace {

TEST(CommandLine, RefusesWrongUsageInOneLine) {
    TemporaryFolder const folder;
    std::string const file = Text(ShapefileBuilder(1).Point(1, 2).WriteTo(folder, "map"));
    std::vector<std::string> const cases[] = {
        {"info"},
        {"info", "--nonsense", file},
        {"export", file, "extra"},
        {"export", file, "--format", "kml"},
        {"export", file, "--mode", "magic"},
        {"export", file, "--bbox", "1,2,3"},
        {"export", file, "--bbox", "1,2,3,4,5"},
        {"export", file, "--bbox", "5,0,1,1"},
        {"export", file, "--bbox", "nan,0,1,1"},
        {"export", file, "--encoding", "Klingon"},
        {"select", file},
        {"draw", file},
        {"draw", file, "-o", "map.bmp"},
        {"draw", file, "-o", "map.png", "--size", "100"},
        {"draw", file, "-o", "map.png", "--size", "0x100"},
        {"draw", file, "-o", "map.png", "--style", "color"},
        {"draw", file, "-o", "map.png", "--style", "color=perhaps"},
        {"draw", file, "-o", "map.png", "--style", "width=-1"},
        {"draw", file, "-o", "map.png", "--style", "map:shade=red"},
    };
    for (std::vector<std::string> const& arguments : cases) {
        ToolRun const run = RunTool(arguments);
        EXPECT_EQ(run.exitCode, 2) << arguments.back();
        EXPECT_EQ(run.out, "") << arguments.back();
        EXPECT_TRUE(run.err.starts_with("ambrel-shp: usage: ")) << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    }
}

TEST(CommandLine, ExplainsItself) {
    ToolRun const help = RunTool({"--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (char const* const command : {"info", "export", "check", "select", "draw"}) {
        EXPECT_NE(help.out.find(std::string("\n  ") + command), std::string::npos) << command;
        ToolRun const one = RunTool({command, "--help"});
        EXPECT_EQ(one.exitCode, 0);
        EXPECT_NE(one.out.find("PATH"), std::string::npos) << one.out;
    }
    ToolRun const nothing = RunTool({});
    EXPECT_EQ(nothing.exitCode, 2);
    EXPECT_EQ(nothing.err, help.out);
    EXPECT_TRUE(RunTool({"--version"}).out.starts_with("ambrel-shp "));
}

TEST(CommandLine, TakesAPathAloneForInfo) {
    TemporaryFolder const folder;
    std::string const file = Text(ShapefileBuilder(1).Point(1, 2).WriteTo(folder, "map"));
    std::string const info = RunTool({"info", file, "--json"}).out;
    EXPECT_EQ(RunTool({file, "--json"}).out, info);
    EXPECT_EQ(RunTool({"--json", file.substr(0, file.size() - 4)}).out, info);
}

TEST(CommandLine, ShowsTheLogOnlyWhenAsked) {
    TemporaryFolder const folder;
    std::string const file = Text(ShapefileBuilder(1).Point(1, 2).WriteTo(folder, "map"));
    EXPECT_EQ(RunTool({"info", file}).err, "");
    for (std::vector<std::string> const& arguments :
         {std::vector<std::string>{"info", file, "--verbose"}, {"-v", "info", file}}) {
        EXPECT_NE(RunTool(arguments).err.find("SHP-Reader: Using direct access features\n"),
                  std::string::npos);
    }
}

TEST(CommandLine, StopsCleanlyWhenAsked) {
    TemporaryFolder const folder;
    std::string const file =
        Text(ShapefileBuilder(1).Point(1, 2).Point(3, 4).WriteTo(folder, "map"));
    for (char const* const mode : {"stream", "memory", "cache", "direct"}) {
        Tool::SetInterrupted(true);
        ToolRun const run =
            RunTool({"export", file, "--mode", mode, "-o", Text(folder.File("out.json"))});
        Tool::SetInterrupted(false);
        EXPECT_EQ(run.exitCode, 130) << mode;
        EXPECT_EQ(run.err, "ambrel-shp: stopped\n");
    }
    for (auto const& entry : std::filesystem::directory_iterator(folder.Path())) {
        EXPECT_EQ(entry.path().string().find("out.json"), std::string::npos) << entry.path();
    }
}

} // namespace
} // namespace Ambrel::Test
