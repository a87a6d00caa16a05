#include "RecordingRenderer.h"
#include "ShpReader/BShpFeatureCollection.h"
#include "ShpSupport.h"

#include <thread>

namespace Ambrel::Test {

namespace {

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
        std::vector<std::thread> threads;
        for (Texts& answer : answers) {
            threads.emplace_back([&] { answer = Ask(features); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        for (Texts const& answer : answers) {
            EXPECT_EQ(answer, expected);
        }
    }
}

} // namespace

} // namespace Ambrel::Test
