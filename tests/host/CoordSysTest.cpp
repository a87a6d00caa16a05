#include "Testing.h"

#include <array>
#include <cmath>
#include <sys/inotify.h>
#include <thread>
#include <unistd.h>

namespace Ambrel::Test {
namespace {

std::string const wgs84 =
    R"(GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1984",SPHEROID["WGS_1984",6378137.0,298.257223563]],)"
    R"(PRIMEM["Greenwich",0.0],UNIT["Degree",0.0174532925199433]])";
std::string const osgb36 =
    R"(GEOGCS["GCS_OSGB_1936",DATUM["D_OSGB_1936",SPHEROID["Airy_1830",6377563.396,299.3249646]],)"
    R"(PRIMEM["Greenwich",0.0],UNIT["Degree",0.0174532925199433]])";

std::string TransverseMercator(char const* name, std::string const& base, double easting,
                               double northing, double meridian, double scale, double latitude) {
    return BString::Format(R"(PROJCS["%s",%s,PROJECTION["Transverse_Mercator"],)"
                           R"(PARAMETER["False_Easting",%.10g],PARAMETER["False_Northing",%.10g],)"
                           R"(PARAMETER["Central_Meridian",%.10g],PARAMETER["Scale_Factor",%.10g],)"
                           R"(PARAMETER["Latitude_Of_Origin",%.10g],UNIT["Meter",1.0]])",
                           name, base.c_str(), easting, northing, meridian, scale, latitude)
        .Ascii();
}

std::string const utm33 =
    TransverseMercator("WGS_1984_UTM_Zone_33N", wgs84, 500000, 0, 15, 0.9996, 0);
std::string const britishGrid =
    TransverseMercator("British_National_Grid", osgb36, 400000, -100000, -2, 0.9996012717, 49);
std::string const ownGrid = TransverseMercator("Quarry", wgs84, 1, 0, 15.5, 0.9, 0);
std::string const site =
    R"(LOCAL_CS["Site",LOCAL_DATUM["x",0],UNIT["Meter",1],AXIS["X",EAST],AXIS["Y",NORTH]])";
/// With a shift to WGS 84, and with its code.
std::string const shifted =
    R"(GEOGCS["WGS 84",DATUM["WGS_1984",SPHEROID["WGS 84",6378137,298.257223563],)"
    R"(TOWGS84[0,0,0,0,0,0,0]],PRIMEM["Greenwich",0],UNIT["degree",0.0174532925199433],)"
    R"(AUTHORITY["EPSG","4326"]])";

using Holder = std::unique_ptr<BCoordSys>;

TEST(CoordSys, IsReadFromAnyWellKnownText) {
    TemporaryFolder const folder;
    for (auto const& [text, name, code] : {std::tuple{wgs84, "WGS 84", std::optional(4326)},
                                           {"\xEF\xBB\xBF" + wgs84 + "\r\n", "WGS 84", 4326},
                                           {utm33, "WGS 84 / UTM zone 33N", 32633},
                                           {britishGrid, "OSGB36 / British National Grid", 27700},
                                           {ownGrid, "Quarry", std::nullopt},
                                           {shifted, "WGS 84", 4326},
                                           {site, "Site", std::nullopt}}) {
        WriteFile(folder.Path() / "test.prj", ByteList().Text(text));
        Holder const system(BCoordSys::FromFile(folder.File("test.prj")));
        EXPECT_EQ(system->GetName(), BString(name));
        EXPECT_EQ(system->GetEpsgCode(), code) << name;
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
        WriteFile(folder.Path() / "test.prj", ByteList().Text(text));
        EXPECT_BEXCEPTION(BCoordSys::FromFile(path), BFileContentNotValidException,
                          "BCoordSys::FromFile", path)
            << text.substr(0, 100);
    }
    EXPECT_BEXCEPTION(BCoordSys::FromText("EPSG:999999"), BFileContentNotValidException,
                      "BCoordSys::FromText", "EPSG:999999");
    for (BString const& missing : {folder.File("missing.prj"), folder.File(".")}) {
        EXPECT_BEXCEPTION(BCoordSys::FromFile(missing), BFileNotFoundException,
                          "BCoordSys::FromFile", missing);
    }
}

TEST(CoordSys, TransformsToLongitudeAndLatitude) {
    // The national grid's test point of the Ordnance Survey's guide (Caister water tower), to the
    // 5 m that a shift by seven parameters gives; the centre of Berlin, in UTM.
    std::tuple<std::string, BPoint, BPoint, double> const cases[] = {
        {wgs84, {13, 52, 7}, {13, 52, 7}, 1e-12},
        {"EPSG:4326", {13, 52}, {13, 52}, 1e-12},
        {utm33, {500000, 0, 3}, {15, 0, 3}, 1e-9},
        {britishGrid, {651409.903, 313177.270}, {1.716073973, 52.658007833}, 5e-5},
        {"EPSG:3857", {20037508.342789244, 0}, {180, 0}, 1e-9},
    };
    for (auto const& [text, position, expected, tolerance] : cases) {
        Holder system(BCoordSys::FromText(text.c_str()));
        std::unique_ptr<BTransform> const transform = system->MakeTransformToWgs84();
        system.reset();
        BPoint point = position;
        transform->Forward(point);
        EXPECT_NEAR(point.X, expected.X, tolerance);
        EXPECT_NEAR(point.Y, expected.Y, tolerance);
        EXPECT_EQ(point.Z, expected.Z);
        transform->Reverse(point);
        EXPECT_NEAR(point.X, position.X, 1e-3);
        EXPECT_NEAR(point.Y, position.Y, 1e-3);
    }
}

TEST(CoordSys, NamesAPositionThatHasNoImage) {
    Holder const mercator(BCoordSys::FromText("EPSG:3857"));
    std::unique_ptr<BTransform> const transform = mercator->MakeTransformToWgs84();
    for (double bad : {std::nan(""), HUGE_VAL}) {
        BPoint point(bad, 5);
        EXPECT_BEXCEPTION(transform->Forward(point), BException, "BTransform::Forward",
                          BString::Format("The position %.17g, 5 can not be transformed: *", bad));
    }
    BPoint sound(0, 0);
    transform->Forward(sound); // the failure before does not stick
    EXPECT_NEAR(sound.X, 0, 1e-12);

    Holder const local(BCoordSys::FromText(site.c_str()));
    EXPECT_BEXCEPTION(local->MakeTransformToWgs84(), BException, "BCoordSys::MakeTransformTo",
                      "No transformation from Site to WGS 84");
}

TEST(CoordSys, TakesWhatAUserMayCallASystem) {
    struct Case {
        char const* text;
        char const* identifier;
        bool isGeographic;
        bool isWgs84;
    } const cases[] = {
        {"EPSG:25832", "EPSG:25832", false, false},
        {"ESRI:54030", "ESRI:54030", false, false},
        {"ETRS89 / UTM zone 32N", "EPSG:25832", false, false},
        {"+proj=utm +zone=32 +datum=WGS84", "", false, false},
        {"OGC:CRS84", "OGC:CRS84", true, true},
        {"EPSG:4326+5773", "EPSG:9707", true, true},
        {"EPSG:4979", "EPSG:4979", true, true},
        {wgs84.c_str(), "EPSG:4326", true, true},
        {shifted.c_str(), "EPSG:4326", true, true},
        {osgb36.c_str(), "EPSG:4277", true, false},
        {"+proj=longlat +datum=WGS84 +pm=paris", "", true, false},
    };
    for (Case const& expected : cases) {
        Holder const system(BCoordSys::FromText(expected.text));
        EXPECT_EQ(system->GetIdentifier(), expected.identifier) << expected.text;
        EXPECT_EQ(system->IsGeographic(), expected.isGeographic) << expected.text;
        EXPECT_EQ(system->IsLongLatWgs84(), expected.isWgs84) << expected.text;
        Holder const again(BCoordSys::FromText(system->ToText()));
        EXPECT_EQ(again->GetName(), system->GetName());
        EXPECT_EQ(again->IsLongLatWgs84(), expected.isWgs84) << expected.text;
    }
}

TEST(CoordSys, TransformsBetweenTwoSystemsInXAndY) {
    // EPSG:31467 has its northing first.
    Holder const gaussKrueger(BCoordSys::FromText("EPSG:31467"));
    Holder const utm(BCoordSys::FromText("EPSG:25832"));
    BPoint point(3500000, 5800000);
    gaussKrueger->MakeTransformTo(*utm)->Forward(point);
    EXPECT_NEAR(point.X, 499916, 100);
    EXPECT_NEAR(point.Y, 5798092, 100);
}

/// Counts who opens anything in a folder.
class OpenWatch {
public:
    explicit OpenWatch(std::filesystem::path const& folder) : watch(inotify_init1(IN_NONBLOCK)) {
        inotify_add_watch(watch, folder.c_str(), IN_OPEN);
    }
    OpenWatch(OpenWatch const&) = delete;
    OpenWatch& operator=(OpenWatch const&) = delete;
    ~OpenWatch() { close(watch); }

    bool HasSeenAny() const {
        std::array<char, 4096> events;
        return read(watch, events.data(), events.size()) > 0;
    }

private:
    int watch;
};

TEST(CoordSys, NothingInATextOpensAFile) {
    TemporaryFolder const folder;
    std::string const grid = (folder.Path() / "grid").string();
    WriteFile(grid, ByteList().Text("NUM_OREC 11"));
    auto const geographic = [](std::string const& extension) {
        return wgs84.substr(0, wgs84.size() - 1) + extension + "]";
    };
    auto const inProj4 = [&](std::string const& notation) {
        return geographic(R"(,EXTENSION["PROJ4",")" + notation + "\"]");
    };
    std::string const bound =
        R"(BOUNDCRS[SOURCECRS[GEODCRS["a",DATUM["b",ELLIPSOID["c",6378249,293]],CS[ellipsoidal,2],)"
        R"(AXIS["latitude",north],AXIS["longitude",east],UNIT["degree",0.0174532925199433]]],)"
        R"(TARGETCRS[GEODCRS["WGS 84",DATUM["WGS 84",ELLIPSOID["WGS 84",6378137,298.257223563]],)"
        R"(CS[ellipsoidal,2],AXIS["latitude",north],AXIS["longitude",east],)"
        R"(UNIT["degree",0.0174532925199433]]],ABRIDGEDTRANSFORMATION["x",METHOD["NTv2"],)";
    std::pair<std::string, char const*> const cases[] = {
        {inProj4("+proj=longlat +ellps=WGS84 +nadgrids=" + grid), "nadgrids="},
        {inProj4("+proj=longlat +ellps=WGS84 +nadgrids=@null," + grid), "nadgrids="},
        {inProj4("+proj=longlat +ellps=WGS84 nadgrids = " + grid), "nadgrids ="},
        {inProj4("+proj=longlat +ellps=WGS84 +geoidgrids=" + grid), "geoidgrids="},
        {inProj4("+proj=longlat +grids=" + grid), "grids="},
        {inProj4("+proj=pipeline +step +proj=vgridshift +grids=" + grid), "proj="},
        {inProj4("+init=" + grid + ":1"), "init="},
        {inProj4("+proj=defmodel +model=" + grid), "model="},
        {inProj4("+proj=longlat +catalog=" + grid), "catalog="},
        {bound + R"(PARAMETERFILE["Latitude and longitude difference file",")" + grid + "\"]]]",
         "PARAMETERFILE"},
        {R"(VERT_CS["a",VERT_DATUM["b",2005,EXTENSION[PROJ4_GRIDS,")" + grid +
             R"("]],UNIT["metre",1],AXIS["Up",UP]])",
         "PROJ4_GRIDS"},
        {R"({"type": "GeographicCRS", "name": "x"})", "{"},
    };
    Holder const utm(BCoordSys::FromText("EPSG:32633"));
    OpenWatch const watch(folder.Path());
    for (auto const& [text, reason] : cases) {
        LogCapture const log(LOG_WARNING);
        EXPECT_THROW(BCoordSys::FromText(text.c_str()), BFileContentNotValidException) << text;
        EXPECT_EQ(log.TextsOf(LOG_WARNING),
                  std::vector{"Coordinate system " + text + " is refused: \"" + reason +
                              "\" could make a file be opened."});
    }
    Holder const mercator(BCoordSys::FromText(
        inProj4("+proj=merc +a=6378137 +b=6378137 +lon_0=0.0 +nadgrids=@null +wktext").c_str()));
    mercator->MakeTransformTo(*utm);
    Holder const withHeights(BCoordSys::FromText(
        (R"(COMPD_CS["x",)" + wgs84 +
         R"(,VERT_CS["NAVD88",VERT_DATUM["NAVD88",2005,EXTENSION["PROJ4_GRIDS",")" + grid +
         R"("]],UNIT["metre",1],AXIS["Up",UP]]])")
            .c_str()));
    withHeights->MakeTransformTo(*utm);
    // The database names grids for this datum, which are looked for everywhere.
    std::filesystem::path const former = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    for (char const* const name : {"conus", "us_noaa_conus.tif", "ntv2_0.gsb", "alaska"}) {
        std::filesystem::create_hard_link(grid, folder.Path() / name);
    }
    Holder(BCoordSys::FromText("EPSG:4267"))->MakeTransformTo(*utm);
    std::filesystem::current_path(former);
    EXPECT_FALSE(watch.HasSeenAny());
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
    std::jthread const first(work);
    std::jthread const second(work);
}

TEST(CoordSys, WritesTextInEsriForm) {
    TemporaryFolder const folder;
    Holder const system(BCoordSys::FromText("EPSG:32633"));
    EXPECT_TRUE(system->ToFile(folder.File("out.prj")));
    Bytes const bytes = ReadFile(folder.Path() / "out.prj");
    std::string const text(bytes.begin(), bytes.end());
    EXPECT_TRUE(text.starts_with(R"(PROJCS["WGS_1984_UTM_Zone_33N",GEOGCS["GCS_WGS_1984",)"))
        << text;
    EXPECT_EQ(text.find('\n'), std::string::npos);
    Holder const again(BCoordSys::FromFile(folder.File("out.prj")));
    EXPECT_EQ(again->GetEpsgCode(), 32633);
    EXPECT_FALSE(system->ToFile(folder.File("missing/out.prj")));
    EXPECT_FALSE(system->ToFile("/dev/full"));
}

} // namespace
} // namespace Ambrel::Test
