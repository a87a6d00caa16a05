#include "ToolRun.h"

#include "terminal/Interrupt.h"

#include <QImage>

#include <cmath>
#include <ctime>

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
        // What is not a number is no vertex, and nothing joins its neighbours.
        {ShapefileBuilder(3).Polyline(
             {{{10, 50}, {40, 50}, {std::nan(""), 50}, {80, 50}, {110, 50}}}),
         inPixels + "color=blue,width=2",
         {{25, 70, blue}, {60, 70, white}, {95, 70, blue}, {2, 70, white}}},
        // An area that leaves the picture is filled up to its edge, without an outline there; even
        // where it surrounds the picture.
        {ShapefileBuilder(5).Polygon({Square(-1e9, 1e9), Square(40, 1e9)}),
         inPixels + "fill=red,color=blue,width=2",
         {{0, 119, red}, {20, 119, red}, {119, 0, white}, {100, 0, white}, {40, 60, blue}}},
        // Wide lines have round joins, and cover what they cross but once.
        {ShapefileBuilder(3).Polyline({{{20, 20}, {100, 20}, {100, 100}, {60, -10}}}),
         inPixels + "color=#80ff0000,width=20",
         {{60, 100, 0xFFFF7F7F},
          {100, 100, 0xFFFF7F7F},
          {105, 105, 0xFFFF7F7F},
          {109, 109, white}}},
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

TEST_F(Draw, BringsLayersIntoOneCoordinateSystem) {
    // Zone 32 has its central meridian, 9 degrees, at 500,000 m.
    Write(ShapefileBuilder(8).MultiPoint({{8, -1}, {10, 1}}).File(".prj", "EPSG:4326"), "a");
    Write(ShapefileBuilder(1).Point(500000, 0).File(".prj", "EPSG:32632"), "b");
    std::string const styles = " --style a:color=red,width=8 --style b:color=blue,width=8";
    Probes const cross = {{10, 110, red}, {110, 10, red}, {60, 60, blue}, {0, 0, white}};
    ExpectPicture("a.shp b.shp" + styles, cross);
    ExpectPicture("a.shp b.shp --to-crs EPSG:3857" + styles, cross);
    ExpectPicture("b.shp a.shp" + styles, {{60, 60, blue}, {110, 10, red}});
    ExpectPicture("a.shp b.shp --bbox 9,0,10,1" + styles, {{0, 119, blue}, {119, 0, red}});
    ExpectPicture("b.shp a.shp --bbox 499000,-1000,501000,1000" + styles,
                  {{60, 60, blue}, {9, 110, white}});
    ExpectPicture("a.shp b.shp --crs EPSG:32632" + styles, {{110, 60, blue}, {10, 60, red}});
    EXPECT_EQ(RunTool("draw a.shp -o map.png --to-crs nonsense").exitCode, 2);
}

TEST_F(Draw, SaysWhatHasNoPlaceInThePicturesSystem) {
    std::string const say = "ambrel-shp: ";
    Write(ShapefileBuilder(3)
              .Polyline({{{0, 0}, {10, 0}, {727, 971}, {20, 0}, {30, 0}}})
              .File(".prj", "EPSG:4326"));
    EXPECT_EQ(RunTool("draw map.shp -o map.png --size 120x120 --to-crs EPSG:3857 --style "
                      "color=red,width=4"),
              (ToolRun{1, "",
                       say + "1 vertex has no place in the picture's coordinate system, left out "
                             "(map.shp)\n"}));
    EXPECT_EQ(QImage("map.png").pixel(20, 60), red);
    EXPECT_EQ(QImage("map.png").pixel(60, 60), white);

    for (char const* const name : {"a", "b", "c"}) {
        Write(ShapefileBuilder(1).Point(1, 1), name);
    }
    EXPECT_EQ(RunTool("draw a.shp b.shp -o map.png"), Printed(""));
    EXPECT_EQ(RunTool("draw map.shp a.shp b.shp c.shp -o map.png"),
              (ToolRun{0, "",
                       say + "warning: a.shp and 2 more layers: the coordinate system is not "
                             "known; drawn as if it were WGS 84\n"}));
}

TEST_F(Draw, DrawsTheRecordsThatAreAskedFor) {
    TableBuilder table;
    table.Field("N", 'N', 3).Row({"1"}).Row({"2"}).Row({"3"});
    Write(ShapefileBuilder(1).Point(0, 0).Point(60, 60).Point(120, 120).Table(table));
    std::string const dots = "map.shp --bbox 0,0,120,120 --style color=red,width=8 ";
    ExpectPicture(dots + "--where N>1", {{0, 119, white}, {60, 60, red}, {119, 0, red}});
    ExpectPicture(dots + "--where N>1 --records 0,1",
                  {{0, 119, white}, {60, 60, red}, {119, 0, white}});
    EXPECT_EQ(RunTool("draw map.shp -o other.png --where M>1").exitCode, 2);
    EXPECT_FALSE(std::filesystem::exists("other.png"));
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

TEST_F(Draw, GoesByTheDataWhereTheHeaderIsWrong) {
    auto const corners = ShapefileBuilder(8).MultiPoint({{0, 0}, {100, 100}});
    Probes const probes = {{10, 110, red}, {110, 10, red}, {60, 60, white}};
    for (auto const& [from, to] : {std::pair{0.0, 0.0}, {-900.0, 900.0}, {40.0, 60.0}}) {
        Write(ShapefileBuilder(corners).Extent(from, from, to, to));
        ExpectPicture("map.shp --style color=red,width=8", probes);
    }
}

TEST_F(Draw, TellsWhatItLeavesOut) {
    Write(ShapefileBuilder(1)
              .Null()
              .Point(0, 0)
              .Raw(ByteList().Little32(31))
              .Point(9, 9)
              .Raw(ByteList().Little32(31)));
    std::string const reason = " is left out: shapes of type 31 cannot be read (map.shp)\n";
    ToolRun const run = RunTool("draw map.shp -o map.png --size 120x120 --style color=red,width=8");
    EXPECT_EQ(run,
              (ToolRun{1, "", "ambrel-shp: record 2" + reason + "ambrel-shp: record 4" + reason}));
    EXPECT_EQ(QImage("map.png").pixel(110, 10), red);
    EXPECT_EQ(QImage("map.png").pixel(10, 110), red);
}

TEST_F(Draw, SaysThatThePictureIsEmpty) {
    ToolRun const nothing = Failed(1, "nothing of the data lies in the picture");
    Write(ShapefileBuilder(1));
    EXPECT_EQ(RunTool("draw map.shp -o none.png"), nothing);
    Write(ShapefileBuilder(5).Polygon({Square(0, 10)}));
    EXPECT_EQ(RunTool("draw map.shp -o beside.png --bbox 20,20,30,30"), nothing);
    for (char const* const picture : {"none.png", "beside.png"}) {
        EXPECT_EQ(QImage(picture).pixel(800, 600), white);
    }
}

/// A polygon whose edges all cross the picture.
Vertices Comb(int teeth) {
    Vertices comb;
    for (int i = 0; i < teeth; ++i) {
        comb.push_back({i * 100.0 / teeth, 0});
        comb.push_back({(i + 0.5) * 100.0 / teeth, 75});
    }
    comb.push_back(comb.front());
    return comb;
}

TEST_F(Draw, CostsWhatTheEdgesCross) {
    Write(ShapefileBuilder(5).Polygon({Comb(2000)}));
    std::clock_t const start = std::clock(); // of this process: others do not count
    EXPECT_EQ(RunTool("draw map.shp -o map.png"), Printed(""));
    EXPECT_LT(std::clock() - start, 5 * CLOCKS_PER_SEC);
}

TEST_F(Draw, DrawsNoMoreThanTheFileAccountsFor) {
    ShapefileBuilder builder(5);
    builder.Polygon({Comb(2000)}); // 64 KiB, of which 1 MiB may be drawn
    for (int i = 1; i < 30; ++i) {
        builder.IndexEntry(50, static_cast<std::uint32_t>(builder.PlaceOf(0).second / 2 - 4));
    }
    Write(builder);
    ToolRun const run = RunTool("draw map.shp -o map.png --size 120x120");
    std::string expected;
    for (int record = 16; record < 26; ++record) {
        expected += "ambrel-shp: record " + std::to_string(record) +
                    " is left out: more than the file accounts for (map.shp)\n";
    }
    EXPECT_EQ(
        run,
        (ToolRun{1, "", expected + "ambrel-shp: … and 4 more records are left out (map.shp)\n"}));
}

TEST_F(Draw, LeavesNothingBehindWhenStopped) {
    Write(ShapefileBuilder(5).Polygon({Comb(2000)}));
    for (char const* const name : {"map.png", "map.svg", "map.pdf"}) {
        Tool::SetInterrupted(true);
        EXPECT_EQ(RunTool("draw map.shp -o " + std::string(name)).exitCode, 130);
        Tool::SetInterrupted(false);
    }
    std::filesystem::directory_iterator const files(".");
    EXPECT_EQ(std::distance(begin(files), end(files)), 3) << "the shapefile's";
}

} // namespace
} // namespace Ambrel::Test
