#include "ToolRun.h"

#include <gtest/gtest.h>

namespace Ambrel::Test {
namespace {

TEST(Select, PrintsTheRecordsWhoseRectangleMeetsTheWindow) {
    TemporaryFolder const folder;
    ShapefileBuilder builder(3);
    builder.Polyline({{{0, 0}, {2, 2}}})
        .Null()
        .Polyline({{{2, 2}, {9, 9}}})
        .Polyline({{{3, 0}, {9, 1}}})
        .Polyline({{{-5, -5}, {20, 20}}});
    std::string const file = Text(builder.WriteTo(folder, "map"));
    struct {
        char const* window;
        char const* lines;
        char const* json;
    } const cases[] = {
        {"2,2,2,2", "0\n2\n4\n", "[0,2,4]"},
        {"-1,-1,1,1", "0\n4\n", "[0,4]"},
        {"3,0.5,3,0.5", "3\n4\n", "[3,4]"},
        {"30,30,40,40", "", "[]"},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(RunTool({"select", file, "--bbox", c.window}).out, c.lines);
        EXPECT_EQ(RunForJson({"select", file, "--bbox", c.window, "--json"}),
                  nlohmann::json::parse(c.json));
    }
}

} // namespace
} // namespace Ambrel::Test
