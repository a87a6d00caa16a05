#include "ShpSupport.h"

#include <limits>

namespace Ambrel::Test {

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

std::string Invalid(char const* reason) {
    return std::string("SHP-Reader: Record 0 is not valid: ") + reason + "; geometry skipped.";
}

/// What record 0 becomes, without completion.
struct DecodingCase {
    char const* what;
    ShapefileBuilder builder;
    std::string geometry;
    std::string metadata = "";
    Texts warnings = {};
    Texts details = {};
};

void Check(std::vector<DecodingCase> const& cases) {
    for (DecodingCase const& c : cases) {
        SCOPED_TRACE(c.what);
        OpenShapefile const file(c.builder);
        LogCapture const log;
        BSharedPtr<BFeature> const feature = file->ReadFeature(0, false);
        EXPECT_EQ(TextOf(*feature), c.geometry);
        EXPECT_EQ(TextOf(feature->GetMetadata()), c.metadata);
        EXPECT_EQ(log.TextsOf(LOG_WARNING), c.warnings);
        EXPECT_EQ(log.TextsOf(LOG_DETAIL), c.details);
    }
}

TEST(DecodingTest, Points) {
    Texts const skipped = {"SHP-Reader: Skip geometry; point coordinates are not valid."};
    Texts const noMeasures = {"SHP-Reader: Record 0 has no measures."};
    Check({
        {"plain", ShapefileBuilder(1).Point(10, 20), "point[10 20]"},
        {"Z, and a measure that the header's range does not announce",
         ShapefileBuilder(11).Point(1, 2, 5, 7).MRange(0, 0), "point Z[1 2 5]", "ShpMeasures=(7 )"},
        {"M", ShapefileBuilder(21).Point(1, 2, {}, 7).MRange(1, 9), "point[1 2]",
         "ShpMeasures=(7 )"},
        {"M in a file without a range", ShapefileBuilder(21).Point(1, 2, {}, 7).MRange(0, 0),
         "point[1 2]"},
        {"at the limit", ShapefileBuilder(1).Point(1e30, 2), "none", "", {}, skipped},
        {"at the lower limit", ShapefileBuilder(1).Point(1, -1e30), "none", "", {}, skipped},
        {"inside the limit", ShapefileBuilder(1).Point(9.99e29, 2), "point[9.99e+29 2]"},
        {"Z is checked, the measure stays",
         ShapefileBuilder(11).Point(1, 2, notANumber, 7),
         "none",
         "ShpMeasures=(7 )",
         {},
         skipped},
        {"measures are optional",
         ShapefileBuilder(11).Point(1, 2, 5).CutContent(28),
         "point Z[1 2 5]",
         "",
         {},
         noMeasures},
        {"a Point in a PointZ file",
         ShapefileBuilder(11).Point(1, 2, 5).CutContent(20),
         "point Z[1 2]",
         "",
         {"SHP-Reader: Record 0 has no Z values."},
         noMeasures},
        {"too short",
         ShapefileBuilder(1).Point(1, 2).CutContent(18),
         "none",
         "",
         {Invalid("content is too short")}},
        {"no shape type",
         ShapefileBuilder(1).Point(1, 2).CutContent(2),
         "none",
         "",
         {Invalid("content is too short")}},
    });
}

TEST(DecodingTest, MultiPoints) {
    Vertices const two = {{1, 2}, {3, 4}};
    Check({
        {"plain", ShapefileBuilder(8).MultiPoint(two), "points{point[1 2] point[3 4]}"},
        {"none", ShapefileBuilder(8).MultiPoint({}), "points{}"},
        {"Z and M", ShapefileBuilder(18).MultiPoint(two, {5, 6}, {7, 8}),
         "points Z{point Z[1 2 5] point Z[3 4 6]}",
         "ShpMinZCoord=5 ShpMaxZCoord=6 ShpMinMeasure=7 ShpMaxMeasure=8 ShpMeasures=(7 8 )"},
        {"M alone", ShapefileBuilder(28).MultiPoint(two, {}, {7, 8}),
         "points{point[1 2] point[3 4]}", "ShpMinMeasure=7 ShpMaxMeasure=8 ShpMeasures=(7 8 )"},
        {"measures left out",
         ShapefileBuilder(18).MultiPoint(two, {5, 6}).MRange(1, 2),
         "points Z{point Z[1 2 5] point Z[3 4 6]}",
         "ShpMinZCoord=5 ShpMaxZCoord=6",
         {},
         {"SHP-Reader: Record 0 has no measures."}},
        {"Z cut",
         ShapefileBuilder(18).MultiPoint(two, {5, 6}).CutContent(100),
         "points Z{point Z[1 2] point Z[3 4]}",
         "",
         {"SHP-Reader: Record 0 has no Z values."}},
        {"negative count",
         ShapefileBuilder(8).MultiPoint(two).Patch(36, ByteList().Little32(-1U)),
         "none",
         "",
         {Invalid("counts do not fit the content")}},
        {"one point too many",
         ShapefileBuilder(8).MultiPoint(two).Patch(36, {3}),
         "none",
         "",
         {Invalid("counts do not fit the content")}},
        {"no count",
         ShapefileBuilder(8).MultiPoint(two).CutContent(38),
         "none",
         "",
         {Invalid("content is too short")}},
    });
}

TEST(DecodingTest, Polylines) {
    Vertices const a = {{0, 0}, {1, 1}, {2, 0}};
    Vertices const b = {{5, 5}, {6, 6}};
    ShapefileBuilder const twoParts = ShapefileBuilder(3).Polyline({a, b});
    auto const withStarts = [&](std::uint32_t first, std::uint32_t second) {
        return ShapefileBuilder(twoParts).Patch(44, ByteList().Little32(first).Little32(second));
    };
    Check({
        {"one part", ShapefileBuilder(3).Polyline({a}), "line[0 0,1 1,2 0]"},
        {"one part, whose start is not read",
         ShapefileBuilder(3).Polyline({a}).Patch(44, ByteList().Little32(99)), "line[0 0,1 1,2 0]"},
        {"two parts", twoParts, "lines{line[0 0,1 1,2 0] line[5 5,6 6]}"},
        {"no part", ShapefileBuilder(13).Polyline({}).ZRange(1, 2), "lines Z{}",
         "ShpMinZCoord=0 ShpMaxZCoord=0"},
        {"an empty part", withStarts(0, 0), "lines{line[] line[0 0,1 1,2 0,5 5,6 6]}"},
        {"points run from 0, whatever the first start says", withStarts(2, 3),
         "lines{line[0 0] line[1 1,2 0]}"},
        {"starts decrease",
         withStarts(3, 2),
         "none",
         "",
         {Invalid("part starts are out of order")}},
        {"start behind the end",
         withStarts(0, 6),
         "none",
         "",
         {Invalid("part starts are out of order")}},
        {"negative start",
         withStarts(-1U, 3),
         "none",
         "",
         {Invalid("part starts are out of order")}},
        {"Z by the running index, M",
         ShapefileBuilder(13).Polyline({a, b}, {1, 2, 3, 4, 5}, {9, 8, 7, 6, 5}),
         "lines Z{line Z[0 0 1,1 1 2,2 0 3] line Z[5 5 4,6 6 5]}",
         "ShpMinZCoord=1 ShpMaxZCoord=5 ShpMinMeasure=5 ShpMaxMeasure=9 "
         "ShpMeasures=(9 8 7 6 5 )"},
        {"M alone", ShapefileBuilder(23).Polyline({b}, {}, {7, 8}), "line[5 5,6 6]",
         "ShpMinMeasure=7 ShpMaxMeasure=8 ShpMeasures=(7 8 )"},
        {"more parts than bytes",
         ShapefileBuilder(3).Polyline({a}).Patch(36, ByteList().Little32(0x7FFFFFFF)),
         "none",
         "",
         {Invalid("counts do not fit the content")}},
    });
}

// Rings: A is clockwise; h1 and h2 lie in it and run the other way; x lies outside.
Vertices const A = {{0, 0}, {0, 10}, {10, 10}, {10, 0}, {0, 0}};
Vertices const B = {{20, 0}, {20, 9}, {29, 9}, {20, 0}};
Vertices const h1 = {{1, 1}, {4, 1}, {4, 4}, {1, 1}};
Vertices const h2 = {{5, 5}, {8, 5}, {8, 8}, {5, 5}};
Vertices const x = {{30, 0}, {33, 0}, {33, 3}, {30, 0}};
std::string const textA = "polygon[0 0,0 10,10 10,10 0,0 0]";
std::string const textB = "polygon[20 0,20 9,29 9,20 0]";
std::string const textH1 = "polygon[1 1,4 1,4 4,1 1]";
std::string const textH2 = "polygon[5 5,8 5,8 8,5 5]";
std::string const turnedA = "polygon[0 0,10 0,10 10,0 10,0 0]";
std::string const turnedH1 = "polygon[1 1,4 4,4 1,1 1]";
std::string const turnedH2 = "polygon[5 5,8 8,8 5,5 5]";
std::string const turnedX = "polygon[30 0,33 3,33 0,30 0]";

ShapefileBuilder Rings(Parts const& parts) {
    return ShapefileBuilder(5).Polygon(parts);
}

TEST(DecodingTest, RingsBecomeShellsAndHolesInTheirOrder) {
    Vertices const counterClockwiseA = {{0, 0}, {10, 0}, {10, 10}, {0, 10}, {0, 0}};
    Check({
        {"a single ring is neither closed nor turned", Rings({{{0, 0}, {9, 0}, {9, 9}, {0, 9}}}),
         "polygon[0 0,9 0,9 9,0 9]"},
        {"shell and hole", Rings({A, h1}), "donut{" + textA + " " + textH1 + "}"},
        {"two shells", Rings({A, B}), "areas{" + textA + " " + textB + "}"},
        {"two that run the other way", Rings({counterClockwiseA, h1}),
         "areas{" + textA + " " + turnedH1 + "}"},
        {"two holes", Rings({A, h1, h2}), "donut{" + textA + " " + textH1 + " " + textH2 + "}"},
        {"a hole behind a stranger is a shell", Rings({A, h1, x, h2}),
         "areas{donut{" + textA + " " + textH1 + "} " + turnedX + " " + turnedH2 + "}"},
        {"only the last shell is asked", Rings({A, B, h1}),
         "areas{" + textA + " " + textB + " " + turnedH1 + "}"},
        {"a hole before its shell", Rings({h1, A}), "areas{" + turnedH1 + " " + textA + "}"},
        {"holes of the last of several shells", Rings({B, A, h1}),
         "areas{" + textB + " donut{" + textA + " " + textH1 + "}}"},
        {"open rings are closed", Rings({{{0, 0}, {0, 10}, {10, 10}, {10, 0}}, h1}),
         "donut{" + textA + " " + textH1 + "}"},
        {"a touching hole is inside", Rings({A, {{0, 0}, {4, 1}, {4, 4}, {0, 0}}}),
         "donut{" + textA + " polygon[0 0,4 1,4 4,0 0]}"},
        {"no ring", Rings({}), "areas{}"},
        {"a ring without area is no shell by itself", Rings({A, {{3, 3}}}),
         "donut{" + textA + " polygon[3 3]}"},
    });
}

TEST(DecodingTest, PartsWithoutVerticesChangeNothing) {
    std::string const line = "SHP-Reader: Record 0: part 1 has no vertices; part skipped.";
    Check({
        {"between shell and hole",
         Rings({A, {}, h1}),
         "donut{" + textA + " " + textH1 + "}",
         "",
         {line}},
        {"between hole and hole",
         Rings({A, {}, h1, h2}),
         "donut{" + textA + " " + textH1 + " " + textH2 + "}",
         "",
         {line}},
    });
}

/// Rings and aggregates of a file with Z are flagged; what a donut consists of is as the host makes
/// it.
TEST(DecodingTest, PolygonsWithZ) {
    Check({
        {"donut; the closing vertex has the first one's Z",
         ShapefileBuilder(15).Polygon({{{0, 0}, {0, 9}, {9, 9}}, {{1, 2}, {2, 3}, {1, 3}, {1, 2}}},
                                      {1, 2, 3, 4, 5, 6, 4}),
         "donut Z{polygon[0 0 1,0 9 2,9 9 3,0 0 1] polygon[1 2 4,2 3 5,1 3 6,1 2 4]}",
         "ShpMinZCoord=1 ShpMaxZCoord=6"},
        {"aggregate",
         ShapefileBuilder(15).Polygon({{{0, 0}, {0, 9}, {9, 9}, {0, 0}}, B}, Reals(8, 7)),
         "areas Z{polygon Z[0 0 7,0 9 7,9 9 7,0 0 7] "
         "polygon Z[20 0 7,20 9 7,29 9 7,20 0 7]}",
         "ShpMinZCoord=7 ShpMaxZCoord=7"},
    });
}

TEST(DecodingTest, UnsupportedTypesThrow) {
    struct TypeCase {
        std::uint32_t type;
        char const* message;
    };
    TypeCase const cases[] = {{31, "Multipatch geometry is not supported."},
                              {2, "Unsupported geometry encountered (2)."},
                              {32, "Unsupported geometry encountered (32)."},
                              {0xFFFFFFFF, "Unsupported geometry encountered (-1)."}};
    for (TypeCase const& c : cases) {
        OpenShapefile const file(ShapefileBuilder(1).Raw(ByteList().Little32(c.type)));
        EXPECT_BEXCEPTION(file->ReadFeature(0, true), BUnknownGeometryException, "BShpFile::Read",
                          c.message);
    }
}

TEST(DecodingTest, CompletesEveryFeature) {
    ShapefileBuilder builder(1);
    builder.Point(1, 2).RecordNumber(99).Null().Point(notANumber, 0).Point(1, 2).CutContent(10);
    builder.Field("name", 'C', 4).Row({"a"}).Row({"b"}).Row({"c"}).Row({"d"});
    OpenShapefile const file(builder);
    LogCapture const log;
    for (std::uint32_t i = 0; i < 4; ++i) {
        BSharedPtr<BFeature> const feature = file->ReadFeature(i, true);
        EXPECT_EQ(TextOf(feature->GetMetadata()),
                  std::string(CMN_ORIGINAL_FORMAT.Ascii()) + "=" + DS_SHP.Ascii() + " " +
                      CMN_RECORD_NUMBER.Ascii() + "=" + std::to_string(i));
        EXPECT_EQ(feature->attributes.GetAt(0).GetValue().GetValueAsString("").Utf8(),
                  std::string(1, static_cast<char>('a' + i)));
        BSharedPtr<BFeature> const bare = file->ReadFeature(i, false);
        EXPECT_EQ(bare->attributes.GetCount() + bare->GetMetadata().GetCount(), 0U);
    }
    EXPECT_EQ(log.Count(LOG_DETAIL, "SHP-Reader: Record 1 has a NULL shape"), 2U);
}

TEST(DecodingTest, TakesZFromAnAttribute) {
    auto const file = [](ShapefileBuilder builder, char const* z) {
        return ShapefileBuilder(builder).Field("h", 'N', 6, 1).Field("t", 'C', 4).Row({z});
    };
    struct ZCase {
        ShapefileBuilder builder;
        char const* geometry;
    };
    ZCase const cases[] = {
        {ShapefileBuilder(1).Point(1, 2), "point Z[1 2 12.5]"},
        {ShapefileBuilder(11).Point(1, 2, 3), "point Z[1 2 12.5]"},
        {ShapefileBuilder(8).MultiPoint({{1, 2}, {3, 4}}),
         "points Z{point Z[1 2 12.5] point Z[3 4 12.5]}"},
        {ShapefileBuilder(3).Polyline({{{1, 2}, {3, 4}}}), "line Z[1 2 12.5,3 4 12.5]"},
        {ShapefileBuilder(5).Polygon({{{1, 2}, {3, 4}}}), "polygon Z[1 2 12.5,3 4 12.5]"},
        {ShapefileBuilder(3).Polyline({{{1, 2}}, {{3, 4}}}), "lines{line[1 2] line[3 4]}"},
        {ShapefileBuilder(1).Null(), "none"},
    };
    for (ZCase const& c : cases) {
        OpenShapefile const shapefile(file(c.builder, "12.5"), true, "h");
        EXPECT_EQ(TextOf(*shapefile->ReadFeature(0, true)), c.geometry);
    }
    OpenShapefile const unnamed(file(ShapefileBuilder(1).Point(1, 2), "1"), true, "none");
    EXPECT_BEXCEPTION(unnamed->ReadFeature(0, true), BAttributeDataException,
                      "BAttributes::GetAttribute", "Attribute=none");
    EXPECT_EQ(TextOf(*unnamed->ReadFeature(0, false)), "point[1 2]");

    OpenShapefile const text(file(ShapefileBuilder(1).Point(1, 2), "1"), true, "t");
    LogCapture const log;
    EXPECT_EQ(TextOf(*text->ReadFeature(0, true)), "point[1 2]");
    EXPECT_EQ(log.TextsOf(LOG_WARNING),
              (Texts{"SHP-Reader: Record 0: the value of t is not a number; Z unchanged."}));
}

} // namespace

} // namespace Ambrel::Test
