// Real data, held against what is known of it from elsewhere: atlases and the register of
// countries.

#include "ShpSupport.h"

namespace Ambrel::Test {

namespace {

/// The feature of that name in a file of the examples.
BSharedPtr<BFeature> Find(std::string const& file, char const* name) {
    auto const reader = MakeReader();
    reader->Open((EXAMPLES_FOLDER "/" + file + ".shp").c_str(), BParamList());
    reader->Read();
    EXPECT_EQ(LayerOf(*reader).GetCoordSys()->GetEpsgCode(), 4326);
    BFeatureCollection const& features = LayerOf(*reader).GetFeatures();
    std::uint64_t i = 0;
    while (features.GetAt(i)->attributes.GetAttribute("name", true).GetValue() != BVariant(name)) {
        ++i; // up to the count, where it throws
    }
    return features.GetAt(i);
}

TEST(ExamplesTest, FeaturesLieWhereTheyAre) {
    // Easternmost longitude and northernmost latitude in degrees.
    for (auto const& [file, name, type, east, north] :
         {std::tuple{"cities", "Nairobi", GEO_POINT, 36.8, -1.3},
          {"cities", "Reykjav\xC3\xADk", GEO_POINT, -21.9, 64.2},
          {"countries", "New Zealand", GEO_AGGREGATE_AREA, 178.5, -34.4},
          {"countries", "Switzerland", GEO_POLYGON, 10.5, 47.8},
          {"rivers", "Amazon", GEO_POLYLINE, -50.5, 0.}}) {
        BSharedPtr<BFeature> const feature = Find(file, name);
        EXPECT_EQ(feature->GetGeometry()->type, type) << name;
        EXPECT_NEAR(feature->ComputeMBR().xMax, east, 0.5) << name;
        EXPECT_NEAR(feature->ComputeMBR().yMax, north, 0.5) << name;
    }
}

TEST(ExamplesTest, LesothoIsAHoleInSouthAfrica) {
    BSharedPtr<BGeometry> const southAfrica = Find("countries", "South Africa")->GetGeometry();
    ASSERT_EQ(southAfrica->type, GEO_DONUT);
    BRect const hole = static_cast<BDonut&>(*southAfrica).GetHoleAt(0)->ComputeMBB();
    BRect const lesotho = Find("countries", "Lesotho")->ComputeMBR();
    EXPECT_NEAR(hole.xMin, lesotho.xMin, 1e-9);
    EXPECT_NEAR(hole.yMax, lesotho.yMax, 1e-9);
}

} // namespace

} // namespace Ambrel::Test
