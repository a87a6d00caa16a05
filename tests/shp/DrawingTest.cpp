#include "RecordingRenderer.h"
#include "ShpSupport.h"

#include <limits>

namespace Ambrel::Test {

namespace {

/// What the records are drawn as, in a window where a map unit takes two pixels.
Texts Draw(ShapefileBuilder const& builder, Indexes const& indexes) {
    OpenShapefile const file(builder);
    RecordingRenderer const renderer(2);
    file->RenderFeatures(indexes, &renderer);
    return renderer.calls;
}

TEST(DrawingTest, DrawsEveryTypeWithOneCall) {
    ShapefileBuilder builder(15);
    builder.Point(1, 2, 9).Null().MultiPoint({{1, 2}, {3, 4}}, {9, 9});
    builder.Polyline({{{0, 0}, {1, 1}}}, {9, 9});
    builder.Polygon({{{0, 0}, {0, 9}, {9, 9}, {9, 0}, {0, 0}}, {{1, 1}, {2, 1}, {2, 2}, {1, 1}}});
    EXPECT_EQ(Draw(builder, {4, 1, 0, 2, 3, 0}),
              (Texts{"polygon 0,0 0,18 18,18 18,0 0,0 2,2 4,2 4,4 2,2 from 0 5", "point 2,4",
                     "points 2,4 6,8", "line 0,0 2,2 from 0", "point 2,4"}));
}

TEST(DrawingTest, CutsWindowCoordinatesOfLinesAndKeepsThoseOfPoints) {
    ShapefileBuilder builder(3);
    builder.Point(10.9, -10.9).Polyline({{{10.9, -10.9}, {0.4, -0.4}}});
    builder.Polyline({{{1e300, -1e10}, {std::numeric_limits<double>::quiet_NaN(), 3}}});
    EXPECT_EQ(Draw(builder, {0, 1, 2}), (Texts{"point 21.8,-21.8", "line 21,-21 0,0 from 0",
                                               "line 2147483647,-2147483648 0,6 from 0"}));
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
    LogCapture const log;
    EXPECT_EQ(Draw(builder, {0, 1, 2, 3, 4}), Texts());
    EXPECT_EQ(
        log.TextsOf(LOG_WARNING),
        (Texts{NotValid(0, "content is too short"), NotValid(1, "counts do not fit the content"),
               NotValid(2, "part starts are out of order"),
               NotValid(3, "counts do not fit the content"), NotValid(4, "content is too short")}));
}

} // namespace

} // namespace Ambrel::Test
