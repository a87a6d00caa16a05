#include "ToolRun.h"

#include "terminal/TextWidth.h"

namespace Ambrel::Test {
namespace {

class TableCommand : public ToolTest {
protected:
    TableCommand() {
        ShapefileBuilder towns(1);
        towns.Field("NAME", 'C', 12).Field("POP", 'N', 8).Field("SINCE", 'D', 8);
        towns.Row({"東京", "9", "18680903"}).Row({"Cafe\u0301", "1200", ""});
        towns.Row({"\033[2J", "-5", "20210230"});
        for (int i = 0; i < 3; ++i) {
            towns.Point(i, i);
        }
        Write(towns, "towns");
    }
};

TEST_F(TableCommand, AlignsWhatATerminalShows) {
    EXPECT_EQ(RunTool("table towns"), Printed("record  NAME   POP  SINCE\n"
                                              "     0  東京     9  1868-09-03\n"
                                              "     1  Cafe\u0301  1200  ∅\n"
                                              "     2   [2J    -5  20210230\n"));
}

TEST_F(TableCommand, ShowsTheRowsAndFieldsAskedFor) {
    std::pair<char const*, ToolRun> const cases[] = {
        {"table towns --fields POP,name --records 2,0-1 --limit 2",
         Printed("record   POP  NAME\n     0     9  東京\n     1  1200  Cafe\u0301\n")},
        {"table towns --fields POP --limit 0", Printed("record  POP\n")},
        {"table towns --records 3",
         Failed(2, "--records: there is no record 3 among 3, counted from 0")},
        {"table towns --fields POP,SIZE",
         Failed(2, "--fields: there is no field SIZE; there are: NAME, POP, SINCE")},
    };
    for (auto const& [line, expected] : cases) {
        EXPECT_EQ(RunTool(line), expected) << line;
    }
}

TEST_F(TableCommand, ExportsTheSameRowsInAllModes) {
    std::string const csv = "export towns --format csv --fields POP,NAME --geometry none ";
    for (std::string const mode : {"stream", "memory", "cache", "direct"}) {
        EXPECT_EQ(RunTool(csv + "--records 1-2 --limit 1 --mode " + mode),
                  Printed("POP,NAME\r\n1200,Cafe\u0301\r\n"));
        EXPECT_EQ(RunTool(csv + "--limit 0 --mode " + mode), Printed("POP,NAME\r\n"));
    }
    EXPECT_EQ(RunTool(csv + "--records 2-3 -o x.csv"),
              Failed(2, "--records: there is no record 3 among 3, counted from 0"));
    EXPECT_FALSE(std::filesystem::exists("x.csv"));
    EXPECT_EQ(RunTool("draw towns --records 7 -o x.png").exitCode, 2);
}

TEST(TextWidth, IsThatOfATerminal) {
    std::tuple<char const*, std::size_t, char const*> const cases[] = {
        {"abc", 5, "abc  "},
        {"abcdef", 5, "abcd…"},
        {"東京都", 5, "東京…"},
        {"東京都", 4, "東… "},
        {"e\u0301e\u0301", 2, "e\u0301e\u0301"},
        {"abc", 0, ""},
        {"한글", 4, "한글"},
    };
    for (auto const& [text, width, expected] : cases) {
        EXPECT_EQ(Tool::Fit(text, width), expected);
    }
    EXPECT_EQ(Tool::Fit("12", 4, true), "  12");
}

} // namespace
} // namespace Ambrel::Test
