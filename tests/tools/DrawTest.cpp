#include "DotSprite.h"
#include "PainterRenderer.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Ambrel::Test {
namespace {

using namespace Ambrel::Tool;

constexpr QRgb white = 0xFFFFFFFF;
constexpr QRgb red = 0xFFFF0000;
constexpr QRgb blue = 0xFF0000FF;

TEST(MapWindow, KeepsProportionsAndCentres) {
    struct {
        BRect map;
        double x, y;           // map units
        double pixelX, pixelY; // of a picture of 200 x 100
    } const cases[] = {
        {BRect(0, 0, 100, 10), 0, 10, 0, 40},    {BRect(0, 0, 100, 10), 100, 0, 200, 60},
        {BRect(0, 0, 50, 100), 25, 100, 100, 0}, {BRect(0, 0, 50, 100), 0, 0, 75, 100},
        {BRect(7, 7, 7, 7), 7, 7, 100, 50},      {BRect(7, 0, 7, 10), 7, 10, 100, 0},
    };
    for (auto const& c : cases) {
        double x = c.x;
        double y = c.y;
        MapWindow(c.map, 200, 100, 0).ToWindow(x, y);
        EXPECT_NEAR(x / MapWindow::unitsPerPixel, c.pixelX, 1e-9);
        EXPECT_NEAR(y / MapWindow::unitsPerPixel, c.pixelY, 1e-9);
    }
}

TEST(MapWindow, ShowsItsMarginAndKeepsFarCoordinatesWithinIntegers) {
    MapWindow const window(BRect(0, 0, 80, 80), 100, 100, 10);
    BRect const visible = window.VisibleMap(5);
    EXPECT_NEAR(visible.xMin, -15, 1e-9);
    EXPECT_NEAR(visible.yMax, 95, 1e-9);
    double const far[] = {1e300, -1e300, std::numeric_limits<double>::infinity(), std::nan("")};
    for (double const value : far) {
        double x = value;
        double y = value;
        window.ToWindow(x, y);
        EXPECT_LT(std::abs(x), 2147483647.0);
        EXPECT_LT(std::abs(y), 2147483647.0);
    }
}

TEST(DotSprite, StaysWithinTheImage) {
    QImage image(20, 20, QImage::Format_RGB32);
    image.fill(Qt::white);
    DotSprite const dot(Qt::red, 6);
    for (double const place : {-1e30, -4.0, -2.0, 19.9, 22.0, 1e30, std::nan("")}) {
        dot.Blend(image, place, 10);
        dot.Blend(image, 10, place);
    }
    dot.Blend(image, 10, 10);
    EXPECT_EQ(image.pixel(10, 10), red);
    EXPECT_EQ(image.pixel(4, 10), white);
    EXPECT_NE(image.pixel(0, 10), white); // the part of a dot whose middle lies outside
}

/// A picture of 100 x 100 pixels whose map units are pixels, Y up.
class Renderer : public testing::Test {
protected:
    Renderer() { image.fill(Qt::white); }

    PainterRenderer Make(LayerStyle const& style) {
        return PainterRenderer(painter, &image, window, style);
    }
    QRgb At(int x, int y) const { return image.pixel(x, y); }

    static std::vector<Gdiplus::Point> Pixels(std::vector<Gdiplus::Point> points) {
        for (Gdiplus::Point& point : points) {
            point.X *= MapWindow::unitsPerPixel;
            point.Y *= MapWindow::unitsPerPixel;
        }
        return points;
    }
    static std::vector<Gdiplus::Point> Square(int from, int to) {
        return {{from, from}, {to, from}, {to, to}, {from, to}, {from, from}};
    }

    QImage image{100, 100, QImage::Format_RGB32};
    QPainter painter{&image};
    MapWindow window{BRect(0, 0, 100, 100), 100, 100, 0};
};

TEST_F(Renderer, FillsByTheEvenOddRule) {
    std::vector<Gdiplus::Point> points = Square(10, 90);
    for (Gdiplus::Point const& point : Square(30, 70)) { // turned like the outer ring
        points.push_back(point);
    }
    int const partStarts[] = {0, 5};
    Make({blue, red, 2}).DrawPolygon(Pixels(points).data(), 10, partStarts, 2);
    EXPECT_EQ(At(20, 50), red);
    EXPECT_EQ(At(50, 50), white);
    EXPECT_EQ(At(10, 50), blue);
    EXPECT_EQ(At(5, 5), white);
}

TEST_F(Renderer, DrawsPartsApart) {
    auto const points = Pixels({{10, 20}, {40, 20}, {60, 20}, {90, 20}});
    int const partStarts[] = {0, 2};
    Make({blue, QColor(), 2}).DrawPolyline(points.data(), 4, partStarts, 2);
    EXPECT_EQ(At(25, 20), blue);
    EXPECT_EQ(At(50, 20), white);
    EXPECT_EQ(At(75, 20), blue);
}

TEST_F(Renderer, LeavesOutPartsThatAreNotThere) {
    auto const points = Pixels({{10, 20}, {40, 20}, {60, 20}, {90, 20}});
    int const wrong[][2] = {{-5, 9}, {4, 4}, {7, 2}, {-2147483647, 2147483647}, {3, 0}};
    PainterRenderer const renderer = Make({blue, red, 2});
    for (auto const& partStarts : wrong) {
        renderer.DrawPolyline(points.data(), 4, partStarts, 1);
    }
    EXPECT_EQ(At(25, 20), white);
    int const overlong[] = {0, 9};
    renderer.DrawPolyline(points.data(), 4, overlong, 2);
    renderer.DrawPolygon(points.data(), 0, overlong, 0);
    renderer.DrawPolygon(points.data(), 0, overlong, 2);
    EXPECT_EQ(At(75, 20), white);
}

TEST_F(Renderer, KeepsWhatIsSmallerThanAPixelVisible) {
    std::vector<Gdiplus::Point> const speck = {{800, 800}, {804, 804}, {800, 804}, {800, 800}};
    int const partStarts[] = {0};
    Make({blue, red, 1}).DrawPolygon(speck.data(), 4, partStarts, 1);
    EXPECT_NE(At(50, 50), white);
}

TEST_F(Renderer, DrawsNothingWithoutColours) {
    auto const square = Pixels(Square(10, 90));
    int const partStarts[] = {0};
    PainterRenderer const renderer = Make({QColor(), QColor(), 4});
    renderer.DrawPolygon(square.data(), 5, partStarts, 1);
    renderer.DrawPoint({800, 800});
    QImage blank(image.size(), image.format());
    blank.fill(Qt::white);
    EXPECT_EQ(image, blank);
}

class Draw : public testing::Test {
protected:
    /// Draws into a picture of 120 x 120 pixels: a margin of 10 around the map.
    QImage Run(std::vector<std::string> const& more) {
        std::vector<std::string> arguments = {"draw", "-o", picture, "--size", "120x120"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        ToolRun const run = RunTool(arguments);
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.err, "");
        return QImage(QString::fromStdString(picture));
    }

    TemporaryFolder folder;
    std::string picture = Text(folder.File("map.png"));
};

TEST_F(Draw, PutsLayersOverEachOther) {
    ShapefileBuilder land(5);
    land.Polygon({{{0, 0}, {0, 100}, {100, 100}, {100, 0}, {0, 0}},
                  {{40, 40}, {60, 40}, {60, 60}, {40, 60}, {40, 40}}});
    // Sorted by name, the towns would lie under the land.
    std::string const landFile = Text(land.WriteTo(folder, "land"));
    std::string const townFile =
        Text(ShapefileBuilder(1).Null().Point(20, 80).WriteTo(folder, "a town"));
    std::vector<std::string> const styles = {"--style", "land:fill=red,color=none", "--style",
                                             "a town:color=blue,width=6"};
    auto const run = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), styles.begin(), styles.end());
        return Run(arguments);
    };
    for (QImage const& image : {run({folder.Path().string()}), run({landFile, townFile})}) {
        EXPECT_EQ(image.size(), QSize(120, 120));
        EXPECT_EQ(image.pixel(20, 20), red);
        EXPECT_EQ(image.pixel(60, 60), white); // the hole
        EXPECT_EQ(image.pixel(5, 60), white);  // the margin
        EXPECT_EQ(image.pixel(30, 30), blue);  // the town: Y is up in the map
    }
    EXPECT_EQ(run({townFile, landFile}).pixel(30, 30), red);
}

TEST_F(Draw, ShowsTheRectangleAskedFor) {
    std::string const file =
        Text(ShapefileBuilder(1).Point(50, 50).Point(75, 50).WriteTo(folder, "map"));
    QImage const image = Run({file, "--bbox", "45,45,55,55", "--style", "color=#ff0000,width=10"});
    EXPECT_EQ(image.pixel(60, 60), red);
    EXPECT_EQ(image.pixel(90, 60), white);
}

TEST_F(Draw, WritesVectorFormats) {
    std::string const file =
        Text(ShapefileBuilder(3).Polyline({{{0, 0}, {9, 9}}}).WriteTo(folder, "map"));
    struct {
        char const* name;
        char const* start;
        char const* content;
    } const cases[] = {{"map.svg", "<?xml", "<polyline"}, {"map.PDF", "%PDF-", "/MediaBox"}};
    for (auto const& c : cases) {
        std::string const output = Text(folder.File(c.name));
        EXPECT_EQ(RunTool({"draw", file, "-o", output}).exitCode, 0);
        std::string const text = TextOf(output);
        EXPECT_TRUE(text.starts_with(c.start)) << c.name;
        EXPECT_NE(text.find(c.content), std::string::npos) << c.name;
    }
}

TEST_F(Draw, HasNothingToDraw) {
    std::string const empty = Text(ShapefileBuilder(1).WriteTo(folder, "empty"));
    ToolRun const run = RunTool({"draw", empty, "-o", picture});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "ambrel-shp: BDataManagerException: draw: nothing to draw; see --bbox\n");
    EXPECT_FALSE(std::filesystem::exists(picture));
}

} // namespace
} // namespace Ambrel::Test
