// Real data, held against what is known of it from elsewhere: atlases and the register of
// countries.

#include "ShpSupport.h"

#include <cmath>

namespace Ambrel::Test {

namespace {

class ExamplesTest : public testing::Test {
protected:
    BVectorLayer& Read(char const* name) {
        reader = MakeReader();
        reader->Open(BString((std::string(EXAMPLES_FOLDER) + "/" + name).c_str()), BParamList());
        reader->Read();
        return LayerOf(*reader);
    }

    static std::string TextIn(BFeature const& feature, char const* field) {
        BAttribute const* const attribute = feature.attributes.Find(field);
        return attribute ? attribute->GetValue().GetValueAsString("").Ascii() : "no such field";
    }

    static BFeature const& FindNamed(BVectorLayer& layer, std::string const& name) {
        for (std::uint64_t i = 0; i < layer.GetFeatures().GetCount(); ++i) {
            BSharedPtr<BFeature> const feature = layer.GetFeatures().GetAt(i);
            if (TextIn(*feature, "name") == name) {
                return *feature;
            }
        }
        throw std::runtime_error("no feature named " + name);
    }

    std::unique_ptr<BShpReader> reader;
};

TEST_F(ExamplesTest, CitiesStandWhereTheyAre) {
    BVectorLayer& cities = Read("cities.shp");
    EXPECT_EQ(cities.GetCoordSys()->GetEpsgCode(), 4326);
    struct City {
        char const* name;
        double longitude;
        double latitude;
    };
    for (City const& city : {City{"Paris", 2.35, 48.86},
                             {"Tokyo", 139.75, 35.69},
                             {"Nairobi", 36.82, -1.28},
                             {"Reykjav\xC3\xADk", -21.94, 64.15}}) {
        BFeature const& feature = FindNamed(cities, city.name);
        BPoint const& point = static_cast<BPointGeo&>(*feature.GetGeometry()).GetPoint();
        EXPECT_NEAR(point.X, city.longitude, 0.1) << city.name;
        EXPECT_NEAR(point.Y, city.latitude, 0.1) << city.name;
    }
}

TEST_F(ExamplesTest, CountriesHaveTheirEnclavesAndIslands) {
    BVectorLayer& countries = Read("countries.shp");
    EXPECT_EQ(countries.GetFeatures().GetCount(), 177U);
    EXPECT_EQ(countries.GetSingleGeometryClass(), GEO_CLASS_AREAS);
    // Lesotho is a hole in South Africa.
    BFeature const& southAfrica = FindNamed(countries, "South Africa");
    EXPECT_EQ(TextIn(southAfrica, "iso_a3"), "ZAF");
    ASSERT_EQ(southAfrica.GetGeometry()->type, GEO_DONUT);
    BRect const hole = static_cast<BDonut&>(*southAfrica.GetGeometry()).GetHoleAt(0)->ComputeMBB();
    BRect const lesotho = FindNamed(countries, "Lesotho").ComputeMBR();
    EXPECT_NEAR(hole.xMin, lesotho.xMin, 1e-9);
    EXPECT_NEAR(hole.yMax, lesotho.yMax, 1e-9);
    EXPECT_EQ(FindNamed(countries, "New Zealand").GetGeometry()->type, GEO_AGGREGATE_AREA);
    EXPECT_EQ(FindNamed(countries, "Switzerland").GetGeometry()->type, GEO_POLYGON);
}

TEST_F(ExamplesTest, RiversRunToTheirMouths) {
    BVectorLayer& rivers = Read("rivers.shp");
    EXPECT_EQ(rivers.GetSingleGeometryClass(), GEO_CLASS_LINES);
    // The Amazon reaches the Atlantic at about 50 degrees west, at the equator.
    BRect const amazon = FindNamed(rivers, "Amazon").ComputeMBR();
    EXPECT_NEAR(amazon.xMax, -50.5, 2.0);
    EXPECT_NEAR(amazon.yMax, 0.0, 3.0);
}

} // namespace

} // namespace Ambrel::Test
