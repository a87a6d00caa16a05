#include "Expectations.h"
#include "TemporaryFolder.h"

#include <Ambrel/BCoordSys.h>

#include <cmath>
#include <filesystem>
#include <sstream>
#include <sys/stat.h>
#include <thread>

namespace Ambrel::Test {
namespace {

std::string const wgs84 =
    R"(GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1984",SPHEROID["WGS_1984",6378137.0,298.257223563]],)"
    R"(PRIMEM["Greenwich",0.0],UNIT["Degree",0.0174532925199433]])";
std::string const nad83 =
    R"(GEOGCS["GCS_North_American_1983",DATUM["D_North_American_1983",)"
    R"(SPHEROID["GRS_1980",6378137.0,298.257222101]],PRIMEM["Greenwich",0.0],)"
    R"(UNIT["Degree",0.0174532925199433]])";
std::string const osgb36 =
    R"(GEOGCS["GCS_OSGB_1936",DATUM["D_OSGB_1936",SPHEROID["Airy_1830",6377563.396,299.3249646]],)"
    R"(PRIMEM["Greenwich",0.0],UNIT["Degree",0.0174532925199433]])";

/// `parameters`: names and values, one behind the other.
std::string Projected(std::string const& name, std::string const& base, std::string const& method,
                      std::string const& parameters, std::string const& unit = R"("Meter",1.0)") {
    std::string text = "PROJCS[\"" + name + "\"," + base + ",PROJECTION[\"" + method + "\"],";
    std::istringstream words(parameters);
    for (std::string parameter, value; words >> parameter >> value;) {
        text += "PARAMETER[\"" + parameter + "\"," + value + "],";
    }
    return text + "UNIT[" + unit + "]]";
}

std::string const utm33 =
    Projected("WGS_1984_UTM_Zone_33N", wgs84, "Transverse_Mercator",
              "False_Easting 500000.0 False_Northing 0.0 Central_Meridian 15.0 "
              "Scale_Factor 0.9996 Latitude_Of_Origin 0.0");
std::string const britishGrid =
    Projected("British_National_Grid", osgb36, "Transverse_Mercator",
              "False_Easting 400000.0 False_Northing -100000.0 Central_Meridian -2.0 "
              "Scale_Factor 0.9996012717 Latitude_Of_Origin 49.0");
std::string const webMercator =
    Projected("WGS_1984_Web_Mercator_Auxiliary_Sphere", wgs84, "Mercator_Auxiliary_Sphere",
              "False_Easting 0.0 False_Northing 0.0 Central_Meridian 0.0 "
              "Standard_Parallel_1 0.0 Auxiliary_Sphere_Type 0.0");
std::string const longIsland = Projected(
    "NAD_1983_StatePlane_New_York_Long_Island_FIPS_3104_Feet", nad83, "Lambert_Conformal_Conic",
    "False_Easting 984250.0 False_Northing 0.0 Central_Meridian -74.0 "
    "Standard_Parallel_1 40.66666666666666 Standard_Parallel_2 41.03333333333333 "
    "Latitude_Of_Origin 40.16666666666666",
    R"("Foot_US",0.3048006096012192)");
std::string const ownGrid =
    Projected("Quarry", wgs84, "Transverse_Mercator",
              "False_Easting 1.0 False_Northing 0.0 Central_Meridian 15.5 Scale_Factor 0.9 "
              "Latitude_Of_Origin 0.0");
std::string const site =
    R"(LOCAL_CS["Site",LOCAL_DATUM["x",0],UNIT["Meter",1],AXIS["X",EAST],AXIS["Y",NORTH]])";
std::string const shifted =
    R"(GEOGCS["WGS 84",DATUM["WGS_1984",SPHEROID["WGS 84",6378137,298.257223563],)"
    R"(TOWGS84[0,0,0,0,0,0,0]],PRIMEM["Greenwich",0],UNIT["degree",0.0174532925199433],)"
    R"(AUTHORITY["EPSG","4326"]])";

using Holder = std::unique_ptr<BCoordSys>;

Bytes BytesOf(std::string const& text) {
    return Bytes(text.begin(), text.end());
}

TEST(CoordSys, IsReadFromAnyWellKnownText) {
    struct {
        std::string text;
        char const* name;
        int code; ///< 0 for none
    } const cases[] = {
        {wgs84, "WGS 84", 4326},
        {"\xEF\xBB\xBF" + wgs84 + "\r\n", "WGS 84", 4326},
        {utm33, "WGS 84 / UTM zone 33N", 32633},
        {britishGrid, "OSGB36 / British National Grid", 27700},
        {webMercator, "WGS 84 / Pseudo-Mercator", 3857},
        {longIsland, "NAD83 / New York Long Island (ftUS)", 2263},
        {ownGrid, "Quarry", 0},
        {shifted, "WGS 84", 4326},
        {site, "Site", 0},
    };
    TemporaryFolder const folder;
    for (auto const& test : cases) {
        WriteFile(folder.Path() / "test.prj", BytesOf(test.text));
        Holder const system(BCoordSys::FromFile(folder.File("test.prj")));
        EXPECT_STREQ(system->GetName().Ascii(), test.name);
        EXPECT_EQ(system->GetEpsgCode().value_or(0), test.code) << test.name;
    }
}

TEST(CoordSys, RefusesWhatIsNone) {
    TemporaryFolder const folder;
    std::string const cases[] = {
        "",
        "\r\n",
        "WGS 84",
        "+proj=longlat",
        wgs84.substr(0, 60),
        wgs84 + std::string(1, '\0') + "x",
        std::string("\x7F\x45LF\x02\x01\x00\x00", 8),
        R"(SPHEROID["WGS_1984",6378137.0,298.257223563])",
        wgs84 + std::string(std::size_t{1} << 20, ' '),
        std::string(100000, '['),
    };
    BString const path = folder.File("test.prj");
    for (std::string const& text : cases) {
        WriteFile(folder.Path() / "test.prj", BytesOf(text));
        EXPECT_BEXCEPTION(BCoordSys::FromFile(path), BFileContentNotValidException,
                          "BCoordSys::FromFile", path)
            << text.substr(0, 100);
    }
    EXPECT_BEXCEPTION(BCoordSys::FromText("EPSG:999999"), BFileContentNotValidException,
                      "BCoordSys::FromText", "EPSG:999999");
    BString const pipe = folder.File("pipe.prj");
    ASSERT_EQ(mkfifo(pipe.Ascii(), 0600), 0);
    for (BString const& missing : {folder.File("missing.prj"), folder.File("."), pipe}) {
        EXPECT_BEXCEPTION(BCoordSys::FromFile(missing), BFileNotFoundException,
                          "BCoordSys::FromFile", missing);
    }
}

TEST(CoordSys, TransformsToLongitudeAndLatitude) {
    // The national grid's test point of the Ordnance Survey's guide (Caister water tower), to the
    // 5 m that a shift by seven parameters gives; the centre of Berlin, in UTM.
    struct {
        std::string text;
        BPoint position;
        BPoint expected;
        double tolerance; ///< degrees
    } const cases[] = {
        {wgs84, {13, 52, 7}, {13, 52, 7}, 1e-12},
        {"EPSG:4326", {13, 52}, {13, 52}, 1e-12},
        {"EPSG:32633", {500000, 0}, {15, 0}, 1e-9},
        {utm33, {500000, 0, 3}, {15, 0, 3}, 1e-9},
        {britishGrid, {651409.903, 313177.270}, {1.716073973, 52.658007833}, 5e-5},
        {webMercator, {20037508.342789244, 0}, {180, 0}, 1e-9},
    };
    for (auto const& test : cases) {
        Holder system(BCoordSys::FromText(test.text.c_str()));
        std::unique_ptr<BTransform> const transform = system->MakeTransformToWgs84();
        system.reset();
        BPoint point = test.position;
        transform->Forward(point);
        EXPECT_NEAR(point.X, test.expected.X, test.tolerance);
        EXPECT_NEAR(point.Y, test.expected.Y, test.tolerance);
        EXPECT_EQ(point.Z, test.expected.Z);
        transform->Reverse(point);
        EXPECT_NEAR(point.X, test.position.X, 1e-3);
        EXPECT_NEAR(point.Y, test.position.Y, 1e-3);
    }
}

TEST(CoordSys, NamesAPositionThatHasNoImage) {
    Holder const mercator(BCoordSys::FromText(webMercator.c_str()));
    std::unique_ptr<BTransform> const transform = mercator->MakeTransformToWgs84();
    for (double bad : {std::nan(""), HUGE_VAL}) {
        BPoint point(bad, 5);
        try {
            transform->Forward(point);
            ADD_FAILURE() << "threw nothing";
        } catch (BException const& failure) {
            BString const position = BString::Format("The position %.17g, 5 can not be", bad);
            EXPECT_EQ(std::string(failure.what()).find(position.Ascii()), 0U) << failure.what();
            EXPECT_STREQ(failure.GetOperation().Ascii(), "BTransform::Forward");
        }
    }
    BPoint sound(0, 0);
    transform->Forward(sound); // the failure before does not stick
    EXPECT_NEAR(sound.X, 0, 1e-12);

    Holder const local(BCoordSys::FromText(site.c_str()));
    EXPECT_BEXCEPTION(local->MakeTransformToWgs84(), BException, "BCoordSys::MakeTransformToWgs84",
                      "No transformation from Site");
}

TEST(CoordSys, IsUsedBySeveralThreads) {
    Holder const system(BCoordSys::FromText(utm33.c_str()));
    std::unique_ptr<BTransform> const shared = system->MakeTransformToWgs84();
    auto const work = [&] {
        std::unique_ptr<BTransform> const own = system->MakeTransformToWgs84();
        for (int i = 0; i < 1000; ++i) {
            BPoint one(500000, 1000 * i);
            BPoint other = one;
            own->Forward(one);
            shared->Forward(other);
            ASSERT_EQ(one.Y, other.Y);
        }
        ASSERT_EQ(system->GetEpsgCode(), 32633);
    };
    std::thread first(work);
    std::thread second(work);
    first.join();
    second.join();
}

TEST(CoordSys, WritesTextInEsriForm) {
    TemporaryFolder const folder;
    Holder const system(BCoordSys::FromText("EPSG:32633"));
    EXPECT_TRUE(system->ToFile(folder.File("out.prj")));
    Bytes const bytes = ReadFile(folder.Path() / "out.prj");
    std::string const text(bytes.begin(), bytes.end());
    EXPECT_EQ(text.rfind(R"(PROJCS["WGS_1984_UTM_Zone_33N",GEOGCS["GCS_WGS_1984",)", 0), 0U)
        << text;
    EXPECT_EQ(text.find('\n'), std::string::npos);
    Holder const again(BCoordSys::FromFile(folder.File("out.prj")));
    EXPECT_EQ(again->GetEpsgCode(), 32633);
    EXPECT_FALSE(system->ToFile(folder.File("missing/out.prj")));
    EXPECT_FALSE(system->ToFile("/dev/full"));
}

} // namespace
} // namespace Ambrel::Test
