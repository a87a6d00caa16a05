#include "ToolRun.h"
#include "ZipFile.h"

#include <sys/wait.h>
#include <unistd.h>

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
        EXPECT_TRUE(run.err.starts_with("ambrel-shp: ")) << run;
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

/// Runs of the program itself: what a function call cannot show.
class Program : public ToolTest {
protected:
    Program() {
        ShapefileBuilder builder(1);
        for (int i = 0; i < 20000; ++i) {
            builder.Point(i * 0.001, i * -0.001);
        }
        Write(builder.File(".prj", "EPSG:4326"), "Zürich");
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
         Failed(1, "cannot write standard output: No space left on device")},
    };
    for (auto const& [command, expected] : cases) {
        EXPECT_EQ(Run(command), expected);
    }
}

TEST_F(Program, EndsAtTheFirstSignalWhereverItIs) {
    WriteZip("map.zip", {{"a.shp", TextOf("Zürich.shp")},
                         {"a.shx", TextOf("Zürich.shx")},
                         {"a.dbf", TextOf("Zürich.dbf")},
                         {"a.prj", TextOf("Zürich.prj")}});
    std::filesystem::create_directory("tmp");
    // A pipe that is open for both directions never ends, and takes no more than it can hold.
    std::string const setUp = "export TMPDIR=$PWD/tmp; rm -f pipe; mkfifo pipe; stop() { "
                              "timeout --preserve-status -k 5 -s $1 1.5 $TOOL \"${@:2}\"; }; ";
    for (char const* const command :
         {"stop INT table Zürich --records - <>pipe", "stop HUP export Zürich 1<>pipe",
          "stop TERM table map.zip --records - <>pipe", "stop INT export map.zip -o pipe"}) {
        ToolRun const run = Run("bash -c '" + setUp + command + "'");
        EXPECT_EQ(run, (ToolRun{130, run.out, "ambrel-shp: stopped\n"})) << command;
        EXPECT_TRUE(std::filesystem::is_empty("tmp")) << command;
    }
}

TEST_F(Program, LeavesNoHalfFileBehind) {
    for (char const* const time : {"0.02", "0.04", "0.08", "0.16"}) {
        std::string const command = "timeout -s INT " + std::string(time) + " $TOOL ";
        Run(command + "export Zürich -o out.json; " + command + "draw Zürich -o out.png");
        EXPECT_EQ(Run("ls -A | grep ambrel-shp").out, "");
    }
}

TEST_F(Program, FollowsNoLinkOfSomebodyElse) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can make links of others";
    }
    std::filesystem::create_directory("shared");
    Run("chmod 1777 shared; echo old >mine.json; ln -s ../mine.json shared/link.json; "
        "chown -h 1234 shared/link.json; ln -s ../mine.json shared/own.json");
    ToolRun const run = Run("$TOOL export Zürich -o shared/link.json");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("the link was made by another user"), std::string::npos) << run;
    EXPECT_EQ(TextOf("mine.json"), "old\n");
    EXPECT_EQ(Run("$TOOL export Zürich -o shared/own.json"), Printed(""));
    EXPECT_NE(TextOf("mine.json"), "old\n");
}

} // namespace
} // namespace Ambrel::Test
