#include "RecordingRenderer.h"
#include "ShpReader/BShpFeatureCollection.h"
#include "ShpSupport.h"

#include <limits>

namespace Ambrel::Test {

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

TEST(DirectAccessTest, SelectsWhatMeetsTheArea) {
    ShapefileBuilder builder(3);
    builder.Point(1, 1).Null().Point(5, 5).Polyline({{{0, 0}, {9, 0}}});            // 0 to 3
    builder.Polyline({{{0, 0}}}).Patch(4, ByteList().Reals({3, 0, 1, 1}));          // inverted
    builder.Polyline({{{0, 0}}}).Patch(4, ByteList().Reals({0, 0, notANumber, 1})); // no bound
    builder.Raw(ByteList().Little32(31).Fill(40)).Point(2, 3).Point(2.0001, 1);     // 6 to 8
    OpenShapefile const file(builder);
    BParamList const none;
    std::pair<BRect, Indexes> const cases[] = {
        {BRect(0, 0, 2, 3), {0, 3, 7}}, // 7 on the corner, 8 just outside
        {BRect(5, 0, 5, 0), {3}},       {BRect(-9, -9, 99, 99), {0, 2, 3, 7, 8}}, {BRect(), {}},
        {BRect(20, 20, 30, 30), {}},
    };
    for (auto const& [area, found] : cases) {
        SCOPED_TRACE(TextOf(area));
        Indexes result = {7, 7};
        file->SelectFeatures(area, none, result);
        Indexes expected = {7, 7};
        expected.insert(expected.end(), found.begin(), found.end());
        EXPECT_EQ(result, expected);
        EXPECT_EQ(file->HasFeaturesInArea(area, none), !found.empty());
    }
}

/// Long enough for reading ahead to start, to meet gaps and jumps, and to end.
TEST(DirectAccessTest, SelectsInLongFilesWhateverTheirOrder) {
    ShapefileBuilder builder(3);
    Indexes expected;
    for (std::uint64_t i = 0; i < 3000; ++i) {
        builder.Polyline({Vertices(i % 97 == 0 ? 2000 : 2, Vertex{i * 1.0, 0})});
        builder.Junk(Bytes(i % 5 == 0 ? i % 7 * 3000 : 0));
        if (i >= 1000 && i <= 2500) {
            expected.push_back(i);
        }
    }
    OpenShapefile const file(builder);
    Indexes result;
    file->SelectFeatures(BRect(1000, 0, 2500, 0), BParamList(), result);
    EXPECT_EQ(result, expected);
    RecordingRenderer const renderer;
    Indexes const backwards(result.rbegin(), result.rend());
    file->RenderFeatures(backwards, &renderer);
    EXPECT_EQ(renderer.calls.at(1), "line 2499,0 2499,0 from 0");
    EXPECT_EQ(renderer.calls.size(), expected.size());
}

TEST(DirectAccessTest, KeepsTheFileOpenThroughCopies) {
    OpenShapefile file(ShapefileBuilder(1).Point(1, 2).Point(3, 4));
    auto first = std::make_unique<BShpFeatureCollection>(file.file);
    BShpFeatureCollection const copy(*first);
    first.reset();
    file.file = BSharedPtr<BShpFile>();
    EXPECT_EQ(TextOf(*copy.GetAt(1)), "point[3 4]");
    EXPECT_BEXCEPTION(copy.GetAtImpl(0x100000001U, false), BIndexOutOfBoundsException,
                      "BShpFile::ReadFeature", "Index=4294967297, NumRecords=2");
    BRect const& rectangle = copy.GetFeatureMBRAt(0);
    EXPECT_EQ(TextOf(rectangle), "1 2 1 2");
    EXPECT_EQ(&copy.GetFeatureMBRAt(1), &rectangle);
    EXPECT_EQ(TextOf(rectangle), "3 4 3 4");
}

TEST(DirectAccessTest, AnswersThroughTheLayerOfAReaderThatIsGone) {
    TemporaryFolder const folder;
    BString const path = Diagonal(11).WriteTo(folder, "a");
    auto reader = MakeReader(OPTION_DIRECT_ACCESS);
    reader->Open(path, BParamList());
    reader->Read();
    EXPECT_EQ(reader->GetReadResult(), 0);
    BLayers const layers = reader->GetLayers();
    reader->Close();
    reader.reset();
    auto& features = static_cast<BVectorLayer&>(*layers.GetAt(0)).GetFeatures();
    LogCapture const log;
    EXPECT_EQ(TextOf(*features.GetAt(9)), "point[9 9]");
    EXPECT_EQ(TextOf(features.GetGeometryAt(10).Get()), "point[10 10]");
    // Enough to see that direct access is at work.
    EXPECT_EQ(log.TextsOf(LOG_DETAIL), Texts{"SHP-FeatureCollection: In GetAtImpl, index=9"});
    RecordingRenderer const renderer;
    BRenderingParams params;
    params.renderer = &renderer;
    params.area = BRect(3, 3, 3, 9);
    features.RenderFeatures(&params);
    EXPECT_EQ(renderer.calls, Texts{"point 3,3"});
    EXPECT_TRUE(features.HasFeaturesInArea(params.area, BParamList()));
    EXPECT_FALSE(features.HasFeaturesInArea(BRect(3, 4, 3, 9), BParamList()));

    EXPECT_BEXCEPTION(features.GetAt(11), BIndexOutOfBoundsException,
                      "BDirectAccessFeatureCollection::GetAt", "Index=11, Count=11");
    EXPECT_BEXCEPTION(features.GetGeometryAt(1ULL << 32), BIndexOutOfBoundsException,
                      "BDirectAccessFeatureCollection::GetGeometryAt",
                      "Index=4294967296, Count=11");
    BByteArray const bytes = features.ToByteArray();
    EXPECT_EQ(features.ComputeSize(), bytes.size());
    BMemoryFeatureCollection copy;
    std::uint64_t position = 0;
    copy.FromByteArray(bytes, position);
    EXPECT_EQ(TextsOf(copy), TextsOf(features));
}

} // namespace

} // namespace Ambrel::Test
