#include "ToolRun.h"

#include <QImage>

namespace Ambrel::Test {
namespace {

constexpr QRgb white = 0xFFFFFFFF;
constexpr QRgb red = 0xFFFF0000;
constexpr QRgb blue = 0xFF0000FF;

/// A pixel, counted from the top left, and what it has to be.
struct Probe {
    int x;
    int y;
    QRgb color;
};
using Probes = std::vector<Probe>;

using Draw = ToolTest;

/// Draws into a picture of 120 x 120 pixels.
void ExpectPicture(std::string const& options, Probes const& probes) {
    EXPECT_EQ(RunTool("draw -o map.png --size 120x120 " + options), Printed(""));
    QImage const image("map.png");
    EXPECT_EQ(image.size(), QSize(120, 120));
    for (auto const& [x, y, color] : probes) {
        EXPECT_EQ(image.pixel(x, y), color) << options << " at " << x << ", " << y;
    }
}

Vertices Square(double from, double to) {
    return {{from, from}, {from, to}, {to, to}, {to, from}, {from, from}};
}

TEST_F(Draw, PaintsRecordsWhereTheyLieAndInTheirStyle) {
    std::string const dots = "--style color=red,width=8";
    Parts const tiny = {Square(50.01, 50.99)};
    std::string const inPixels = "--bbox 0,0,120,120 --style ";
    std::tuple<ShapefileBuilder, std::string, Probes> const cases[] = {
        // The whole extent, with a margin of 10 pixels; the proportions stay.
        {ShapefileBuilder(8).MultiPoint({{0, 10}, {100, 0}}),
         dots,
         {{10, 55, red}, {110, 65, red}, {60, 60, white}}},
        {ShapefileBuilder(8).MultiPoint({{25, 100}, {0, 0}, {50, 0}}),
         dots,
         {{60, 10, red}, {35, 110, red}, {85, 110, red}}},
        {ShapefileBuilder(1).Point(7, 7), "--style color=red", {{60, 60, red}, {54, 60, white}}},
        {ShapefileBuilder(8).MultiPoint({{7, 0}, {7, 10}}), dots, {{60, 10, red}, {60, 110, red}}},
        // A line that leaves a small window far behind keeps its direction.
        {ShapefileBuilder(3).Polyline({{{-100, -50}, {100, 50}}}),
         "--bbox=-0.00001,-0.00001,0.00001,0.00001 --style color=red,width=5",
         {{3, 88, red}, {60, 60, red}, {116, 32, red}, {3, 116, white}, {116, 3, white}}},
        // Areas have holes whichever way their rings are turned.
        {ShapefileBuilder(5).Polygon({Square(10, 90), Square(30, 70)}),
         inPixels + "fill=red,color=#0000ff,width=2",
         {{20, 70, red}, {50, 70, white}, {10, 70, blue}, {5, 5, white}}},
        {ShapefileBuilder(5).Polygon({Square(10, 90)}),
         inPixels + "fill=none,color=none",
         {{20, 70, white}, {10, 70, white}}},
        {ShapefileBuilder(5).Polygon({Square(50.3, 50.7)}),
         inPixels + "color=blue,width=6",
         {{50, 69, blue}}},
        // What is smaller than a pixel is filled too; four times, which leaves nothing of the
        // paper.
        {ShapefileBuilder(5).Polygon(tiny).Polygon(tiny).Polygon(tiny).Polygon(tiny),
         inPixels + "fill=red,color=none",
         {{50, 69, red}, {50, 71, white}}},
        // Nothing joins the parts of a line.
        {ShapefileBuilder(3).Polyline({{{10, 20}, {40, 20}}, {}, {{60, 20}, {90, 20}}}),
         inPixels + "color=blue,width=2",
         {{25, 100, blue}, {50, 100, white}, {75, 100, blue}}},
        // Places far outside stay on their side; a dot from beyond the edge reaches in.
        {ShapefileBuilder(3).Polyline({{{50, 50}, {1e30, 50}}}),
         inPixels + "color=blue,width=2",
         {{100, 70, blue}, {20, 70, white}}},
        {ShapefileBuilder(8).MultiPoint(
             {{50, 50}, {-2, 50}, {90, -2}, {90, 122}, {-1e30, infinity}, {1e30, 60}}),
         inPixels + "color=red,width=10",
         {{50, 70, red},
          {0, 70, red},
          {119, 70, white},
          {90, 0, red},
          {90, 119, red},
          {100, 70, white}}},
        {ShapefileBuilder(1).Point(123, 50), inPixels + "color=red,width=10", {{119, 70, red}}},
        {ShapefileBuilder(1).Point(50, 50), inPixels + "color=none", {{50, 70, white}}},
    };
    for (auto const& [builder, options, probes] : cases) {
        Write(builder);
        ExpectPicture("map.shp " + options, probes);
    }
}

TEST_F(Draw, PutsLayersOverEachOther) {
    // Sorted by name, the towns would lie under the land.
    Write(ShapefileBuilder(1).Null().Point(20, 80), "a_town");
    Write(ShapefileBuilder(5).Polygon({Square(0, 100)}), "land");
    std::string const styles =
        " --style land:fill=red,color=none --style a_town:color=blue,width=6";
    Probes const townOnTop = {{20, 20, red}, {5, 60, white}, {30, 30, blue}};
    ExpectPicture("." + styles, townOnTop);
    ExpectPicture("land.shp a_town.shp" + styles, townOnTop);
    ExpectPicture("a_town.shp land.shp" + styles, {{30, 30, red}});
}

TEST_F(Draw, WritesVectorFormats) {
    Write(ShapefileBuilder(8).MultiPoint({{0, 0}, {9, 9}}));
    for (auto const& [name, start, content] : std::vector<std::array<std::string, 3>>{
             {"map.svg", "<?xml", "<circle"}, {"map.PDF", "%PDF-", "/MediaBox"}}) {
        EXPECT_EQ(RunTool("draw map.shp -o " + name), Printed(""));
        EXPECT_TRUE(TextOf(name).starts_with(start)) << name;
        EXPECT_NE(TextOf(name).find(content), std::string::npos) << name;
    }
}

TEST_F(Draw, HasNothingToDraw) {
    Write(ShapefileBuilder(1));
    EXPECT_EQ(RunTool("draw map.shp -o map.png"),
              Failed(1, "BDataManagerException: draw: nothing to draw; see --bbox"));
    EXPECT_FALSE(std::filesystem::exists("map.png"));
}

} // namespace
} // namespace Ambrel::Test
