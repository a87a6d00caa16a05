#include <Ambrel/Ambrel.h>
#include <ShpReader/BShpFeatureCollection.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

extern "C" Ambrel::BDataManagerProxy* GetDataMgrProxy();

namespace Ambrel::Test {

namespace {

/// Draws everything to one place and counts the vertices.
class CountingRenderer final : public BRenderer {
public:
    bool ConvertMapToWindow(double&, double&) const override { return true; }
    bool DrawPoint(Gdiplus::PointF const&) const override { return Count(1); }
    bool DrawPoints(Gdiplus::PointF const*, int count) const override { return Count(count); }
    bool DrawPolyline(Gdiplus::Point const*, int count, int const*, int) const override {
        return Count(count);
    }
    bool DrawPolygon(Gdiplus::Point const*, int count, int const*, int) const override {
        return Count(count);
    }
    int GetVertices() const { return drawn; }

private:
    bool Count(int count) const {
        drawn += count;
        return true;
    }
    mutable int drawn = 0;
};

/// The collection of a direct-access layer, copied from it; the reader and the layer have gone.
BShpFeatureCollection CollectionOf(char const* name) {
    BParamList options;
    options.Add(OPTION_DIRECT_ACCESS, true);
    BDataManagerProxy& proxy = *GetDataMgrProxy();
    BString const path = BString::Format(EXAMPLES_FOLDER "/%s", name);
    BDataReader* const reader = proxy.CreateReader(path, options, nullptr, nullptr);
    reader->Open(path, BParamList());
    BSharedPtr<BLayer> const layer = reader->GetLayers().GetAt(0);
    reader->Close();
    proxy.DestroyObject(reader);
    return dynamic_cast<BShpFeatureCollection&>(dynamic_cast<BVectorLayer&>(*layer).GetFeatures());
}

TEST(SharedCollectionTest, CopiesAnswerForThemselves) {
    BShpFeatureCollection features = CollectionOf("cities.shp");
    EXPECT_EQ(features.GetCount(), 243U);
    {
        BShpFeatureCollection const countries = CollectionOf("countries.shp");
        features = countries;
    }
    EXPECT_EQ(features.GetCount(), 177U);
    EXPECT_EQ(features.GetGeometryCounts().GetGeometryClassCount(GEO_CLASS_AREAS), 177U);
    EXPECT_TRUE(features.CanRender());
    EXPECT_TRUE(features.CanSelect());
    EXPECT_LT(features.ComputeMBBImpl().xMin, -179);

    BRect const window(7, 46, 8, 47); // in Switzerland
    std::vector<std::uint64_t> found;
    features.SelectFeaturesImpl(window, BParamList(), found);
    ASSERT_FALSE(found.empty());
    EXPECT_TRUE(features.HasFeaturesInAreaImpl(window, BParamList()));
    EXPECT_FALSE(features.HasFeaturesInAreaImpl(BRect(200, 0, 201, 1), BParamList()));

    std::vector<std::string> names;
    for (std::uint64_t const index : found) {
        BSharedPtr<BFeature> const feature = features.GetAtImpl(index, true);
        names.emplace_back(
            feature->attributes.GetAttribute("name", true).GetValue().GetValueAsString("").Ascii());
        EXPECT_EQ(feature->ComputeMBR().xMin, features.GetFeatureMBRAt(index).xMin);
    }
    EXPECT_NE(std::find(names.begin(), names.end(), "Switzerland"), names.end());

    CountingRenderer const renderer;
    features.RenderFeatures(found, &renderer);
    EXPECT_GT(renderer.GetVertices(), 100);
    EXPECT_THROW(features.GetAtImpl(177, true), BIndexOutOfBoundsException);
}

} // namespace

} // namespace Ambrel::Test
