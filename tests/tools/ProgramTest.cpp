#include "ToolRun.h"

#include <gtest/gtest.h>

namespace Ambrel::Test {
namespace {

/// Runs of the program itself: what a function call can not show.
class Program : public testing::Test {
protected:
    Program() {
        ShapefileBuilder builder(1);
        for (int i = 0; i < 20000; ++i) {
            builder.Point(i, -i);
        }
        file = "'" + Text(builder.WriteTo(folder, "Zürich")) + "'";
    }

    TemporaryFolder folder;
    std::string file;
};

TEST_F(Program, ExportsToAPipeAndToAFileAlike) {
    std::string const output = "'" + Text(folder.File("out.geojson")) + "'";
    ToolRun const run = RunShell("$TOOL export " + file + " -o " + output + " && $TOOL export " +
                                 file + " | cmp - " + output);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_GT(std::filesystem::file_size(folder.Path() / "out.geojson"), 1000000U);
}

TEST_F(Program, SaysNothingWhenItsReaderLeaves) {
    ToolRun const run = RunShell("$TOOL export " + file + " | head -n 1");
    EXPECT_EQ(run.err, "");
    EXPECT_TRUE(run.out.starts_with("{\"type\":\"FeatureCollection\",\"name\":\"Zürich\""));
}

TEST_F(Program, FindsAccentedNamesUnderEveryLocale) {
    ToolRun const run = RunShell("LC_ALL=C $TOOL info " + file);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(run.out.starts_with("Zürich\n")) << run.out;
}

TEST_F(Program, ReportsAFullDisk) {
    ToolRun const run = RunShell("$TOOL export " + file + " >/dev/full");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err,
              "ambrel-shp: OutputException: write: standard output: No space left on device\n");
}

TEST_F(Program, TakesThePlugInFromTheEnvironment) {
    ToolRun const run = RunShell("AMBREL_PLUGIN_PATH=/no/such/module.so $TOOL info " + file);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("loading the plug-in: /no/such/module.so"), std::string::npos)
        << run.err;
}

TEST_F(Program, ColoursOnlyATerminal) {
    std::string const info = "$TOOL info " + file;
    EXPECT_EQ(RunShell(info).out.find('\033'), std::string::npos);
    // `script` gives the program a terminal.
    std::string const onTerminal = "TERM=xterm script -qec \"" + info + "\" /dev/null";
    EXPECT_NE(RunShell(onTerminal).out.find("\033[1mZürich"), std::string::npos);
    EXPECT_EQ(RunShell("NO_COLOR=1 " + onTerminal).out.find('\033'), std::string::npos);
}

} // namespace
} // namespace Ambrel::Test
