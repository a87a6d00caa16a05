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
    for (std::uint64_t i = 0; i < features.GetCount(); ++i) {
        BSharedPtr<BFeature> const feature = features.GetAt(i);
        if (feature->attributes.GetAttribute("name", true).GetValue() == BVariant(name)) {
            return feature;
        }
    }
    throw std::runtime_error("no feature named " + std::string(name));
}

/// Easternmost longitude and northernmost latitude in degrees.
TEST(ExamplesTest, FeaturesLieWhereTheyAre) {
    struct {
        char const* file;
        char const* name;
        EGeometryType type;
        double east;
        double north;
        double tolerance;
    } const places[] = {
        {"cities", "Paris", GEO_POINT, 2.35, 48.86, 0.1},
        {"cities", "Tokyo", GEO_POINT, 139.75, 35.69, 0.1},
        {"cities", "Nairobi", GEO_POINT, 36.82, -1.28, 0.1},
        {"cities", "Reykjav\xC3\xADk", GEO_POINT, -21.94, 64.15, 0.1},
        {"countries", "New Zealand", GEO_AGGREGATE_AREA, 178.5, -34.4, 0.5},
        {"countries", "Switzerland", GEO_POLYGON, 10.5, 47.8, 0.5},
        {"rivers", "Amazon", GEO_POLYLINE, -50.5, 0, 3},
    };
    for (auto const& place : places) {
        SCOPED_TRACE(place.name);
        BSharedPtr<BFeature> const feature = Find(place.file, place.name);
        EXPECT_EQ(feature->GetGeometry()->type, place.type);
        EXPECT_NEAR(feature->ComputeMBR().xMax, place.east, place.tolerance);
        EXPECT_NEAR(feature->ComputeMBR().yMax, place.north, place.tolerance);
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
