#include "ToolRun.h"

#include <sys/wait.h>

namespace Ambrel::Test {
namespace {

using CommandLine = ToolTest;

TEST_F(CommandLine, RefusesWrongUsageInOneLine) {
    Write(ShapefileBuilder(1).Point(1, 2));
    for (char const* const line : {"info",
                                   "info --nonsense map.shp",
                                   "export map.shp extra",
                                   "export map.shp --format kml",
                                   "export map.shp --mode 1",
                                   "export map.shp --bbox 1,2,3",
                                   "export map.shp --bbox 1,2,3,4,5",
                                   "export map.shp --bbox 5,0,1,1",
                                   "export map.shp --bbox nan,0,1,1",
                                   "export map.shp --encoding Klingon",
                                   "export map.shp -o map.DBF",
                                   "export map.shp --no-attributes --z-attribute id",
                                   "select map.shp",
                                   "draw map.shp",
                                   "draw map.shp -o map.bmp",
                                   "draw map.shp -o map.png --size 100",
                                   "draw map.shp -o map.png --size 0x100",
                                   "draw map.shp -o map.png --style color",
                                   "draw map.shp -o map.png --style color=perhaps",
                                   "draw map.shp -o map.png --style width=-1",
                                   "draw map.shp -o map.png --style map:shade=red",
                                   "draw map.shp -o map.png --style mop:color=red"}) {
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

/// Runs of the program itself: what a function call can not show.
class Program : public ToolTest {
protected:
    Program() {
        ShapefileBuilder builder(1);
        for (int i = 0; i < 20000; ++i) {
            builder.Point(i, -i);
        }
        Write(builder, "Zürich");
        ::setenv("TOOL", TOOL_PROGRAM, 1);
    }

    /// Runs a shell command.
    static ToolRun Run(std::string const& command) {
        int const status = std::system(("{ " + command + "; } >out.txt 2>err.txt").c_str());
        return {WEXITSTATUS(status), TextOf("out.txt"), TextOf("err.txt")};
    }
};

TEST_F(Program, GetsAlongWithPipesFilesAndLocales) {
    std::tuple<char const*, ToolRun> const cases[] = {
        {"$TOOL export Zürich -o out.json && $TOOL export Zürich | cmp - out.json && wc -l "
         "<out.json",
         Printed("20002\n")},
        // The reader that leaves is no failure.
        {"$TOOL export Zürich | head -n 1",
         Printed("{\"type\":\"FeatureCollection\",\"name\":\"Zürich\",\"features\":[\n")},
        {"LC_ALL=C $TOOL info Zürich | head -n 1", Printed("Zürich\n")},
        // Only a terminal is given colours; `script` is one.
        {"TERM=xterm script -qec '$TOOL Zürich' /dev/null | head -n 1",
         Printed("\033[1mZürich\033[0m\r\n")},
        {"NO_COLOR=1 TERM=xterm script -qec '$TOOL Zürich' /dev/null | head -n 1",
         Printed("Zürich\r\n")},
        {"mkdir odd && : >odd/$(printf 'Z\\374rich.shp') && $TOOL info odd 2>&1 | "
         "grep -c 'rich.shp is left out: its name is not UTF-8'",
         Printed("1\n")},
        // Standard error that has gone ends nothing, and what others write to is not replaced.
        {"mkdir '[d]' && cp Zürich.* '[d]' && "
         "$TOOL check '[d]' missing 2>/dev/full >/dev/null; echo $?",
         Printed("2\n")},
        {"{ echo old; $TOOL export Zürich -o /dev/stdout; echo new; } >all && head -n 1 all && "
         "tail -n 1 all",
         Printed("old\nnew\n")},
        {"$TOOL export Zürich >/dev/full",
         Failed(1, "OutputException: write: standard output: No space left on device")},
    };
    for (auto const& [command, expected] : cases) {
        EXPECT_EQ(Run(command), expected);
    }
}

} // namespace
} // namespace Ambrel::Test
