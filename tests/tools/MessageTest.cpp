#include "ToolRun.h"

namespace Ambrel::Test {
namespace {

/// What the tool says to people who know neither its code nor the format.
class Message : public ToolTest {
protected:
    Message() {
        Write(ShapefileBuilder(1).Point(1, 2), "x");
        std::filesystem::copy_file("x.dbf", "lonetable.dbf");
        WriteFile("README.md", ByteList().Text("# Roads"));
        WriteFile("odd.shp", ByteList().Big32(0x270D).Fill(96));
        WriteFile("cut.shp", ByteList().Big32(0x270A).Fill(20));
        WriteFile("empty.shp", {});
        std::filesystem::create_directory("folder");
    }
};

TEST_F(Message, SaysWhatIsWrong) {
    std::pair<char const*, ToolRun> const cases[] = {
        {"odd.shp", Failed(1, "odd.shp is no shapefile: its first bytes are 00 00 27 0d, not "
                              "00 00 27 0a")},
        {"lonetable.dbf", Failed(1, "lonetable.dbf: there is no lonetable.shp beside it")},
        {"README.md", Failed(1, "README.md is no shapefile")},
        {"cut.shp", Failed(1, "cut.shp is cut: it has only 24 of the 100 bytes of a header")},
        {"empty.shp", Failed(1, "empty.shp is no shapefile: it has only 0 bytes")},
        {"missing.shp", Failed(1, "missing.shp is not there")},
        {"folder", Failed(1, "no shapefile in folder")},
        {"infoo", Failed(2, "infoo: no such command (and no such file); did you mean info?")},
        {"xport x", Failed(2, "xport: no such command (and no such file); did you mean export?")},
        {"pictures", Failed(2, "pictures: no such command (and no such file); see --help")},
        {"--verison", Failed(2, "--verison: no such option; did you mean --version?")},
        {"info x --jsno", Failed(2, "--jsno: no such option; did you mean --json?")},
        {"info -x x", Failed(2, "-x: no such option; see --help")},
        {"-v", Failed(2, "there is neither a command nor a path; see --help")},
        {"info Z\xFCrich.shp", Failed(2, "\"Z\uFFFDrich.shp\" is not UTF-8; rename the file")},
    };
    for (auto const& [line, expected] : cases) {
        EXPECT_EQ(RunTool(line), expected) << line;
    }
}

TEST_F(Message, AddsTheExceptionWhenAsked) {
    std::string const text = RunTool("-v missing.shp").err;
    EXPECT_TRUE(text.ends_with("ambrel-shp: missing.shp is not there\n"
                               "ambrel-shp: BFileNotFoundException: BShpFile::Open: missing.shp\n"))
        << text;
}

} // namespace
} // namespace Ambrel::Test
