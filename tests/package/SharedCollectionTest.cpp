#include "RecordingRenderer.h"

#include <Ambrel/Ambrel.h>
#include <ShpReader/BShpFeatureCollection.h>

#include <gtest/gtest.h>

extern "C" Ambrel::BDataManagerProxy* GetDataMgrProxy();

namespace Ambrel::Test {

namespace {

/// The collection of a direct-access layer, copied from it; the reader and the layer have gone.
BShpFeatureCollection CollectionOf(BString const& path) {
    BParamList options;
    options.Add(OPTION_DIRECT_ACCESS, true);
    BDataManagerProxy& proxy = *GetDataMgrProxy();
    BDataReader* const reader = proxy.CreateReader(path, options, nullptr, nullptr);
    reader->Open(path, BParamList());
    BSharedPtr<BLayer> const layer = reader->GetLayers().GetAt(0);
    reader->Close();
    proxy.DestroyObject(reader);
    return dynamic_cast<BShpFeatureCollection&>(dynamic_cast<BVectorLayer&>(*layer).GetFeatures());
}

/// Every member is called: what the module does not show is missing when this is linked.
TEST(SharedCollectionTest, CopiesAnswerForThemselves) {
    BShpFeatureCollection features = CollectionOf(EXAMPLES_FOLDER "/cities.shp");
    EXPECT_EQ(features.GetCount(), 243U);
    {
        BShpFeatureCollection const countries = CollectionOf(EXAMPLES_FOLDER "/countries.shp");
        features = countries;
    }
    EXPECT_EQ(features.GetGeometryCounts().GetGeometryClassCount(GEO_CLASS_AREAS), 177U);
    EXPECT_LT(features.ComputeMBBImpl().xMin, -179);
    BRect const window(7.4, 46.9, 7.5, 47); // Bern
    std::vector<std::uint64_t> found;
    features.SelectFeaturesImpl(window, BParamList(), found);
    EXPECT_TRUE(features.HasFeaturesInAreaImpl(window, BParamList()));
    std::string names;
    for (std::uint64_t const index : found) {
        BSharedPtr<BFeature> const feature = features.GetAtImpl(index, true);
        names +=
            feature->attributes.GetAttribute("name", true).GetValue().GetValueAsString("").Ascii();
        EXPECT_EQ(feature->ComputeMBR().xMin, features.GetFeatureMBRAt(index).xMin);
    }
    EXPECT_NE(names.find("Switzerland"), std::string::npos) << names;
    RecordingRenderer const renderer;
    features.RenderFeatures(found, &renderer);
    EXPECT_EQ(renderer.calls.size(), found.size());
}

} // namespace

} // namespace Ambrel::Test
