#include "ToolRun.h"

#include <sys/wait.h>

namespace Ambrel::Test {
namespace {

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
        {"$TOOL export Zürich -o out && $TOOL export Zürich | cmp - out && wc -l <out",
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
        {"$TOOL export Zürich >/dev/full",
         Failed(1, "OutputException: write: standard output: No space left on device")},
    };
    for (auto const& [command, expected] : cases) {
        EXPECT_EQ(Run(command), expected);
    }
}

} // namespace
} // namespace Ambrel::Test
