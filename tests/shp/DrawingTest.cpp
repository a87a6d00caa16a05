#include "RecordingRenderer.h"
#include "ShpSupport.h"

#include <limits>

namespace Ambrel::Test {

namespace {

TEST(DrawingTest, DrawsEveryTypeWithOneCall) {
    ShapefileBuilder builder(15);
    builder.Point(1, 2, 9).Null().MultiPoint({{1, 2}, {3, 4}}, {9, 9});
    builder.Polyline({{{0, 0}, {1, 1}}}, {9, 9});
    builder.Polygon({{{0, 0}, {0, 9}, {9, 9}, {9, 0}, {0, 0}}, {{1, 1}, {2, 1}, {2, 2}, {1, 1}}});
    OpenShapefile const file(builder);
    RecordingRenderer const renderer;
    file->RenderFeatures({4, 1, 0, 2, 3, 0}, &renderer);
    EXPECT_EQ(renderer.calls,
              (Texts{"polygon 0,0 0,9 9,9 9,0 0,0 1,1 2,1 2,2 1,1 from 0 5", "point 1,2",
                     "points 1,2 3,4", "line 0,0 1,1 from 0", "point 1,2"}));
}

TEST(DrawingTest, CutsWindowCoordinatesOfLinesAndKeepsThoseOfPoints) {
    OpenShapefile const file(
        ShapefileBuilder(3)
            .Point(10.9, -10.9)
            .Polyline({{{10.9, -10.9}, {0.5, -0.5}}})
            .Polyline({{{1e300, -1e10}, {std::numeric_limits<double>::quiet_NaN(), 3}}}));
    RecordingRenderer const renderer;
    file->RenderFeatures({0, 1, 2}, &renderer);
    EXPECT_EQ(renderer.calls, (Texts{"point 10.9,-10.9", "line 10,-10 0,0 from 0",
                                     "line 2147483647,-2147483648 0,3 from 0"}));
}

TEST(DrawingTest, ThrowsAtTypesThatCanNotBeDrawn) {
    OpenShapefile const file(
        ShapefileBuilder(1).Point(1, 2).Raw(ByteList().Little32(31)).Raw(ByteList().Little32(-1U)));
    RecordingRenderer const renderer;
    EXPECT_BEXCEPTION(file->RenderFeatures({0, 1, 0}, &renderer), BUnknownGeometryException,
                      "BShpFile::Read", "Record type=31");
    EXPECT_EQ(renderer.calls, Texts{"point 1,2"});
    EXPECT_BEXCEPTION(file->RenderFeatures({2}, &renderer), BUnknownGeometryException,
                      "BShpFile::Read", "Record type=-1");
}

TEST(DrawingTest, DrawsNothingForRecordsThatAreNotValid) {
    ShapefileBuilder builder(5);
    Parts const square = {{{0, 0}, {0, 9}, {9, 9}, {0, 0}}};
    builder.Raw({1, 0}).Polygon(square).Patch(40, {9}).Polygon(square).Patch(44, {5});
    builder.MultiPoint({{1, 2}}).CutContent(50).Point(1, 2).CutContent(12);
    OpenShapefile const file(builder);
    RecordingRenderer const renderer;
    LogCapture const log;
    file->RenderFeatures({0, 1, 2, 3, 4}, &renderer);
    EXPECT_TRUE(renderer.calls.empty());
    auto const line = [](char const* record, char const* reason) {
        return std::string("SHP-Reader: Record ") + record + " is not valid: " + reason +
               "; geometry skipped.";
    };
    EXPECT_EQ(
        log.TextsOf(LOG_WARNING),
        (Texts{line("0", "content is too short"), line("1", "counts do not fit the content"),
               line("2", "part starts are out of order"),
               line("3", "counts do not fit the content"), line("4", "content is too short")}));
}

} // namespace

} // namespace Ambrel::Test
