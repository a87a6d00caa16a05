#include "ShpSupport.h"

namespace Ambrel::Test {

namespace {

LogLines const tooShort = {{LOG_WARNING, NotValid(0, "content is too short")}};
LogLines const doNotFit = {{LOG_WARNING, NotValid(0, "counts do not fit the content")}};
LogLines const outOfOrder = {{LOG_WARNING, NotValid(0, "part starts are out of order")}};
LogLines const noZ = {{LOG_WARNING, "SHP-Reader: Record 0 has no Z values."}};
LogLines const noMeasures = {{LOG_DETAIL, "SHP-Reader: Record 0 has no measures."}};
LogLines const noZAndMeasures = {noZ[0], noMeasures[0]};
LogLines const noPosition = {
    {LOG_DETAIL, "SHP-Reader: Skip geometry; point coordinates are not valid."}};
LogLines const emptyPart = {
    {LOG_WARNING, "SHP-Reader: Record 0: part 1 has no vertices; part skipped."}};

/// What record 0 becomes, without completion.
struct DecodingCase {
    char const* what;
    ShapefileBuilder builder;
    std::string geometry;
    std::string metadata = "";
    LogLines lines = {};
};

void Check(std::vector<DecodingCase> const& cases) {
    for (DecodingCase const& c : cases) {
        SCOPED_TRACE(c.what);
        OpenShapefile const file(c.builder);
        LogCapture const log;
        BSharedPtr<BFeature> const feature = file->ReadFeature(0, false);
        EXPECT_EQ(TextOf(*feature), c.geometry);
        EXPECT_EQ(TextOf(feature->GetMetadata()), c.metadata);
        EXPECT_EQ(log.Lines(), c.lines);
    }
}

TEST(DecodingTest, Points) {
    ShapefileBuilder const point = ShapefileBuilder(1).Point(1, 2);
    ShapefileBuilder const pointZ = ShapefileBuilder(11).Point(1, 2, 5);
    ShapefileBuilder const pointM = ShapefileBuilder(21).Point(1, 2, {}, 7);
    Check({
        {"Z, and a measure that the header's range does not announce",
         ShapefileBuilder(11).Point(1, 2, 5, 7).MRange(0, 0), "point Z[1 2 5]", "ShpMeasures=(7 )"},
        {"a null shape with longer content",
         ShapefileBuilder(1).Raw(ByteList().Little32(0).Fill(36, 0xFF)),
         "none",
         "",
         {{LOG_DETAIL, "SHP-Reader: Record 0 has a NULL shape"}}},
        {"M", ShapefileBuilder(pointM).MRange(1, 9), "point[1 2]", "ShpMeasures=(7 )"},
        {"M without a range", ShapefileBuilder(pointM).MRange(0, 0), "point[1 2]"},
        {"limit", ShapefileBuilder(1).Point(1e30, 2), "none", "", noPosition},
        {"lower limit", ShapefileBuilder(1).Point(1, -1e30), "none", "", noPosition},
        {"inside the limit", ShapefileBuilder(1).Point(9.99e29, 2), "point[9.99e+29 2]"},
        {"Z is checked, the measure stays", ShapefileBuilder(11).Point(1, 2, notANumber, 7), "none",
         "ShpMeasures=(7 )", noPosition},
        {"no measure", ShapefileBuilder(pointZ).CutContent(28), "point Z[1 2 5]", "", noMeasures},
        {"no Z", ShapefileBuilder(pointZ).CutContent(20), "point Z[1 2]", "", noZAndMeasures},
        {"too short", ShapefileBuilder(point).CutContent(18), "none", "", tooShort},
        {"no shape type", ShapefileBuilder(point).CutContent(2), "none", "", tooShort},
    });
}

TEST(DecodingTest, MultiPoints) {
    Vertices const two = {{1, 2}, {3, 4}};
    ShapefileBuilder const plain = ShapefileBuilder(8).MultiPoint(two);
    ShapefileBuilder const withZ = ShapefileBuilder(18).MultiPoint(two, {5, 6}).MRange(1, 2);
    ByteList const minusOne = ByteList().Little32(-1U);
    Check({
        {"plain", plain, "points{point[1 2] point[3 4]}"},
        {"none", ShapefileBuilder(8).MultiPoint({}), "points{}"},
        {"Z and M", ShapefileBuilder(18).MultiPoint(two, {5, 6}, {7, 8}),
         "points Z{point Z[1 2 5] point Z[3 4 6]}",
         "ShpMinZCoord=5 ShpMaxZCoord=6 ShpMinMeasure=7 ShpMaxMeasure=8 ShpMeasures=(7 8 )"},
        {"M alone", ShapefileBuilder(28).MultiPoint(two, {}, {7, 8}),
         "points{point[1 2] point[3 4]}", "ShpMinMeasure=7 ShpMaxMeasure=8 ShpMeasures=(7 8 )"},
        {"no measures", withZ, "points Z{point Z[1 2 5] point Z[3 4 6]}",
         "ShpMinZCoord=5 ShpMaxZCoord=6", noMeasures},
        {"Z cut", ShapefileBuilder(withZ).CutContent(100), "points Z{point Z[1 2] point Z[3 4]}",
         "", noZAndMeasures},
        {"negative count", ShapefileBuilder(plain).Patch(36, minusOne), "none", "", doNotFit},
        {"a point too many", ShapefileBuilder(plain).Patch(36, {3}), "none", "", doNotFit},
        {"no count", ShapefileBuilder(plain).CutContent(38), "none", "", tooShort},
    });
}

TEST(DecodingTest, Polylines) {
    Vertices const a = {{0, 0}, {1, 1}, {2, 0}};
    Vertices const b = {{5, 5}, {6, 6}};
    ShapefileBuilder const onePart = ShapefileBuilder(3).Polyline({a});
    auto const withStarts = [&](std::uint32_t first, std::uint32_t second) {
        ShapefileBuilder twoParts = ShapefileBuilder(3).Polyline({a, b});
        return twoParts.Patch(44, ByteList().Little32(first).Little32(second));
    };
    Check({
        {"one part, whose start is not read", ShapefileBuilder(onePart).Patch(44, {99}),
         "line[0 0,1 1,2 0]"},
        {"two parts", withStarts(0, 3), "lines{line[0 0,1 1,2 0] line[5 5,6 6]}"},
        {"no part", ShapefileBuilder(13).Polyline({}).ZRange(1, 2), "lines Z{}",
         "ShpMinZCoord=0 ShpMaxZCoord=0"},
        {"an empty part", withStarts(0, 0), "lines{line[] line[0 0,1 1,2 0,5 5,6 6]}"},
        {"points run from 0, whatever the first start says", withStarts(2, 3),
         "lines{line[0 0] line[1 1,2 0]}"},
        {"starts decrease", withStarts(3, 2), "none", "", outOfOrder},
        {"start behind the end", withStarts(0, 6), "none", "", outOfOrder},
        {"negative start", withStarts(-1U, 3), "none", "", outOfOrder},
        {"Z by the running index, M",
         ShapefileBuilder(13).Polyline({a, b}, {1, 2, 3, 4, 5}, {9, 8, 7, 6, 5}),
         "lines Z{line Z[0 0 1,1 1 2,2 0 3] line Z[5 5 4,6 6 5]}",
         "ShpMinZCoord=1 ShpMaxZCoord=5 ShpMinMeasure=5 ShpMaxMeasure=9 "
         "ShpMeasures=(9 8 7 6 5 )"},
        {"more parts than bytes", ShapefileBuilder(onePart).Patch(39, {0x7F}), "none", "",
         doNotFit},
    });
}

// Rings: A and B are clockwise; h1 and h2 lie in A and run the other way; x lies outside.
Vertices const A = {{0, 0}, {0, 10}, {10, 10}, {10, 0}, {0, 0}};
Vertices const B = {{20, 0}, {20, 9}, {29, 9}, {20, 0}};
Vertices const h1 = {{1, 1}, {4, 1}, {4, 4}, {1, 1}};
Vertices const h2 = {{5, 5}, {8, 5}, {8, 8}, {5, 5}};
Vertices const x = {{30, 0}, {33, 0}, {33, 3}, {30, 0}};
std::string const textA = "polygon[0 0,0 10,10 10,10 0,0 0]";
std::string const textB = "polygon[20 0,20 9,29 9,20 0]";
std::string const textH1 = "polygon[1 1,4 1,4 4,1 1]";
std::string const textH2 = "polygon[5 5,8 5,8 8,5 5]";
std::string const turnedH1 = "polygon[1 1,4 4,4 1,1 1]";

ShapefileBuilder Rings(Parts const& parts) {
    return ShapefileBuilder(5).Polygon(parts);
}

TEST(DecodingTest, RingsBecomeShellsAndHolesInTheirOrder) {
    Vertices const openA(A.begin(), A.end() - 1);
    std::string const oneHole = "donut{" + textA + " " + textH1 + "}";
    std::string const twoHoles = "donut{" + textA + " " + textH1 + " " + textH2 + "}";
    Check({
        {"a single ring is neither closed nor turned", Rings({{{0, 0}, {9, 0}, {9, 9}, {0, 9}}}),
         "polygon[0 0,9 0,9 9,0 9]"},
        {"two shells", Rings({A, B}), "areas{" + textA + " " + textB + "}"},
        {"two that run the other way", Rings({Vertices(A.rbegin(), A.rend()), h1}),
         "areas{" + textA + " " + turnedH1 + "}"},
        {"two holes", Rings({A, h1, h2}), twoHoles},
        {"a hole behind a stranger is a shell", Rings({A, h1, x, h2}),
         "areas{" + oneHole + " polygon[30 0,33 3,33 0,30 0] polygon[5 5,8 8,8 5,5 5]}"},
        {"only the last shell is asked", Rings({A, B, h1}),
         "areas{" + textA + " " + textB + " " + turnedH1 + "}"},
        {"a hole before its shell", Rings({h1, A}), "areas{" + turnedH1 + " " + textA + "}"},
        {"holes of the last of several shells", Rings({B, A, h1}),
         "areas{" + textB + " " + oneHole + "}"},
        {"open rings are closed", Rings({openA, h1}), oneHole},
        {"a touching hole is inside", Rings({A, {{0, 0}, {4, 1}, {4, 4}, {0, 0}}}),
         "donut{" + textA + " polygon[0 0,4 1,4 4,0 0]}"},
        {"no ring", Rings({}), "areas{}"},
        {"a ring without area is no shell by itself", Rings({A, {{3, 3}}}),
         "donut{" + textA + " polygon[3 3]}"},
        {"nothing between shell and holes", Rings({A, {}, h1, h2}), twoHoles, "", emptyPart},
        // Rings of a file with Z are flagged, but not those of a donut, which is as the host makes
        // it.
        {"the closing vertex has the first one's Z",
         ShapefileBuilder(15).Polygon({openA, h1}, {1, 2, 3, 4, 5, 6, 7, 5}),
         "donut Z{polygon[0 0 1,0 10 2,10 10 3,10 0 4,0 0 1] polygon[1 1 5,4 1 6,4 4 7,1 1 5]}",
         "ShpMinZCoord=1 ShpMaxZCoord=7"},
        {"Z of an aggregate", ShapefileBuilder(15).Polygon({B, h1}, Reals(8, 7)),
         "areas Z{polygon Z[20 0 7,20 9 7,29 9 7,20 0 7] "
         "polygon Z[1 1 7,4 4 7,4 1 7,1 1 7]}",
         "ShpMinZCoord=7 ShpMaxZCoord=7"},
    });
}

TEST(DecodingTest, UnsupportedTypesThrow) {
    for (auto const& [type, message] : {std::pair{31U, "Multipatch geometry is not supported."},
                                        {2U, "Unsupported geometry encountered (2)."},
                                        {32U, "Unsupported geometry encountered (32)."},
                                        {-1U, "Unsupported geometry encountered (-1)."}}) {
        OpenShapefile const file(ShapefileBuilder(1).Raw(ByteList().Little32(type)));
        EXPECT_BEXCEPTION(file->ReadFeature(0, true), BUnknownGeometryException, "BShpFile::Read",
                          message);
    }
}

TEST(DecodingTest, CompletesEveryFeature) {
    ShapefileBuilder builder(1);
    builder.Point(1, 2).RecordNumber(99).Null().Point(notANumber, 0).Point(1, 2).CutContent(10);
    OpenShapefile const file(builder);
    LogCapture const log;
    for (std::uint32_t i = 0; i < 4; ++i) {
        BSharedPtr<BFeature> const feature = file->ReadFeature(i, true);
        BKeyValuePairs expected;
        expected.SetValue(CMN_ORIGINAL_FORMAT, DS_SHP);
        expected.SetValue(CMN_RECORD_NUMBER, static_cast<int>(i));
        EXPECT_EQ(TextOf(feature->GetMetadata()), TextOf(expected));
        EXPECT_EQ(feature->attributes.GetAt(0).GetValue(), BVariant(static_cast<int>(i + 1)));
        BSharedPtr<BFeature> const bare = file->ReadFeature(i, false);
        EXPECT_EQ(bare->attributes.GetCount() + bare->GetMetadata().GetCount(), 0U);
    }
    EXPECT_EQ(log.Count(LOG_DETAIL, "SHP-Reader: Record 1 has a NULL shape"), 2U);
}

TEST(DecodingTest, TakesZFromAnAttribute) {
    Texts const notTaken = {
        "SHP-Reader: Record 0: the value of text is not a number; Z unchanged."};
    Parts const line = {{{1, 2}, {3, 4}}};
    std::tuple<ShapefileBuilder, char const*, char const*> cases[] = {
        {ShapefileBuilder(11).Point(1, 2, 3), "h", "point Z[1 2 12.5]"},
        {ShapefileBuilder(8).MultiPoint(line[0]), "h",
         "points Z{point Z[1 2 12.5] point Z[3 4 12.5]}"},
        {ShapefileBuilder(3).Polyline(line), "h", "line Z[1 2 12.5,3 4 12.5]"},
        {ShapefileBuilder(5).Polygon(line), "h", "polygon Z[1 2 12.5,3 4 12.5]"},
        {ShapefileBuilder(3).Polyline({{{1, 2}}, {{3, 4}}}), "h", "lines{line[1 2] line[3 4]}"},
        {ShapefileBuilder(1).Null(), "h", "none"},
        {ShapefileBuilder(1).Point(1, 2), "text", "point[1 2]"},
    };
    for (auto& [builder, attribute, geometry] : cases) {
        builder.Field("h", 'N', 6, 1).Field("text", 'C', 4).Row({"12.5"});
        OpenShapefile const file(builder, true, attribute);
        LogCapture const log;
        EXPECT_EQ(TextOf(*file->ReadFeature(0, true)), geometry);
        EXPECT_EQ(log.TextsOf(LOG_WARNING), attribute == BString("h") ? Texts() : notTaken);
    }
    OpenShapefile const file(ShapefileBuilder(1).Point(1, 2), true, "none");
    EXPECT_BEXCEPTION(file->ReadFeature(0, true), BAttributeDataException,
                      "BAttributes::GetAttribute", "Attribute=none");
    EXPECT_EQ(TextOf(*file->ReadFeature(0, false)), "point[1 2]");
}

} // namespace

} // namespace Ambrel::Test
