#include "RecordingRenderer.h"
#include "ShpReader/BShpFeatureCollection.h"
#include "ShpSupport.h"

#include <thread>

namespace Ambrel::Test {

namespace {

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

/// Long enough for reading ahead to start, to meet gaps, jumps and records of more bytes than it
/// holds, and to end.
TEST(DirectAccessTest, ReadsAndSelectsInLongFilesWhateverTheirOrder) {
    ShapefileBuilder builder(3);
    Indexes expected;
    for (std::uint64_t i = 0; i < 3000; ++i) {
        Vertices line(i % 970 == 1 ? 40000 : i % 97 == 0 ? 2000 : 2, Vertex{i * 1.0, 0});
        for (std::size_t vertex = 0; vertex < line.size(); ++vertex) {
            line[vertex].y = static_cast<double>(vertex);
        }
        builder.Polyline({line});
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
    EXPECT_EQ(renderer.calls.at(1), "line 2499,0 2499,1 from 0");
    EXPECT_EQ(renderer.calls.size(), expected.size());
    BSharedPtr<BVectorLayer> const layer = MakeLayer();
    file->Read(layer);
    for (std::uint64_t i = 0; i < 3000; ++i) {
        ASSERT_EQ(TextOf(*layer->GetFeatures().GetAt(i)), TextOf(*file->ReadFeature(i, false)));
    }
}

TEST(DirectAccessTest, KeepsTheFileOpenThroughCopies) {
    OpenShapefile file(ShapefileBuilder(1).Point(1, 2).Point(3, 4));
    auto first = std::make_unique<BShpFeatureCollection>(file.file);
    BShpFeatureCollection copy(*first);
    first.reset();
    file.file = BSharedPtr<BShpFile>();
    EXPECT_EQ(TextOf(*copy.GetAt(1)), "point[3 4]");
    BRect const& rectangle = copy.GetFeatureMBRAt(0);
    EXPECT_EQ(TextOf(rectangle), "1 2 1 2");
    EXPECT_EQ(&copy.GetFeatureMBRAt(1), &rectangle);
    EXPECT_EQ(TextOf(rectangle), "3 4 3 4");
    auto last = std::make_unique<BShpFeatureCollection>(copy);
    OpenShapefile other(ShapefileBuilder(1).Null());
    copy = BShpFeatureCollection(other.file);
    RecordingRenderer renderer;
    renderer.whenCalled = [&] { last.reset(); };
    last->RenderFeatures({0, 1}, &renderer);
    EXPECT_EQ(renderer.calls, (Texts{"point 1,2", "point 3,4"}));
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
    builder.Polyline({{{1e300, -1e10}, {notANumber, 3}}});
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
    builder.Raw({1, 0}).Polygon(square).Patch(40, {9});
    builder.Polygon({square[0], square[0]}).Patch(44, {5});
    builder.MultiPoint({{1, 2}}).CutContent(50).Point(1, 2).CutContent(12);
    LogCapture const log;
    EXPECT_EQ(Draw(builder, {0, 1, 2, 3, 4}), Texts());
    EXPECT_EQ(
        log.TextsOf(LOG_WARNING),
        (Texts{NotValid(0, "content is too short"), NotValid(1, "counts do not fit the content"),
               NotValid(2, "part starts are out of order"),
               NotValid(3, "counts do not fit the content"), NotValid(4, "content is too short")}));
}

/// The start of a single part is no position.
TEST(DrawingTest, PassesPartStartsAsStoredUnlessASingleOneLiesOutside) {
    Vertices const line = {{0, 0}, {1, 1}, {2, 0}};
    ShapefileBuilder builder(3);
    for (std::uint32_t const start : {2U, 3U, 7U, -1U}) {
        builder.Polyline({line}).Patch(44, ByteList().Little32(start));
    }
    std::string const drawn = "line 0,0 2,2 4,0 from ";
    EXPECT_EQ(Draw(builder, {0, 1, 2, 3}),
              (Texts{drawn + "2", drawn + "0", drawn + "0", drawn + "0"}));
}

/// What one thread sees of a file, failing fetches included.
Texts Ask(BShpFeatureCollection const& features) {
    Texts answers;
    for (std::uint64_t i = 0; i < features.GetCount(); ++i) {
        try {
            BSharedPtr<BFeature> const feature = features.GetAt(i, true);
            answers.push_back(TextOf(*feature) + TextOf(feature->GetMetadata()) +
                              feature->attributes.GetAt(0).GetValue().GetValueAsString("").Ascii());
        } catch (BException const& failure) {
            answers.push_back(failure.what());
        }
    }
    std::vector<std::uint64_t> selected;
    features.SelectFeatures(BRect(0, 0, 50, 50), BParamList(), selected);
    RecordingRenderer const renderer;
    features.RenderFeatures(selected, &renderer);
    answers.insert(answers.end(), renderer.calls.begin(), renderer.calls.end());
    answers.push_back(features.HasFeaturesInArea(BRect(1, 1, 2, 2), BParamList()) ? "yes" : "no");
    return answers;
}

TEST(ThreadTest, SeveralAskOneFileAtOnce) {
    ShapefileBuilder builder(3);
    for (int i = 0; i < 100; ++i) {
        builder.Polyline({{{i * 1.0, 0}, {i + 1.0, 1}}});
        if (i % 10 == 9) {
            builder.Raw(ByteList().Little32(31)); // Fetching it fails and frees the index.
        }
    }
    OpenShapefile file(builder);
    BShpFeatureCollection const features(file.file);
    Texts const expected = Ask(features);
    for (int round = 0; round < 5; ++round) {
        file->LoadIndex();
        std::vector<Texts> answers(3);
        std::vector<std::jthread> threads;
        for (Texts& answer : answers) {
            threads.emplace_back([&] { answer = Ask(features); });
        }
        for (std::uint64_t i = 0; i < features.GetCount(); i += 11) {
            EXPECT_EQ(features.GetFeatureMBRAt(i).xMin, features.GetFeatureMBRAt(i).xMax - 1);
        }
        threads.clear(); // waits for them
        for (Texts const& answer : answers) {
            EXPECT_EQ(answer, expected);
        }
    }
}

} // namespace

} // namespace Ambrel::Test
