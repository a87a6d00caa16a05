#include "ToolRun.h"

#include <gtest/gtest.h>

namespace Ambrel::Test {
namespace {

using Json = nlohmann::json;

class Info : public testing::Test {
protected:
    TemporaryFolder folder;
};

TEST_F(Info, DescribesALayerAsJson) {
    ShapefileBuilder builder(15);
    builder.Field("name", 'C', 12)
        .Field("small", 'N', 4)
        .Field("large", 'N', 12)
        .Field("real", 'N', 9, 3)
        .Field("day", 'D', 8)
        .Field("yes", 'L', 1)
        .Row({"a"})
        .Row({"b"})
        .Polygon({{{1, 2}, {1, 5}, {4, 5}, {1, 2}}}, {7, 8, 9, 7}, {1, 2, 3, 1})
        .Null()
        .Prj(R"(GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1984",SPHEROID["WGS_1984",6378137,)"
             R"(298.257223563]],PRIMEM["Greenwich",0],UNIT["Degree",0.0174532925199433]])");
    std::string const file = Text(builder.WriteTo(folder, "lakes"));
    Json const layers = RunForJson({"info", file, "--json"});
    ASSERT_EQ(layers.size(), 1U);
    Json layer = layers[0];
    EXPECT_NE(layer["crs"].get<std::string>().find("WGS"), std::string::npos);
    layer.erase("crs");
    EXPECT_EQ(layer,
              Json({{"name", "lakes"},
                    {"path", file},
                    {"shapeType", 15},
                    {"shapeTypeName", "PolygonZ"},
                    {"geometryClass", "areas"},
                    {"records", 2},
                    {"extent", {1.0, 2.0, 4.0, 5.0}},
                    {"zRange", {7.0, 9.0}},
                    {"measureRange", {1.0, 3.0}},
                    {"epsg", 4326},
                    {"fields",
                     {{{"name", "name"}, {"type", "string"}, {"width", 12}, {"decimals", 0}},
                      {{"name", "small"}, {"type", "integer"}, {"width", 4}, {"decimals", 0}},
                      {{"name", "large"}, {"type", "integer64"}, {"width", 12}, {"decimals", 0}},
                      {{"name", "real"}, {"type", "double"}, {"width", 9}, {"decimals", 3}},
                      {{"name", "day"}, {"type", "date"}, {"width", 8}, {"decimals", 0}},
                      {{"name", "yes"}, {"type", "boolean"}, {"width", 1}, {"decimals", 0}}}}}));
}

TEST_F(Info, SaysNullForWhatIsNotKnown) {
    ShapefileBuilder builder(1);
    std::string const file = Text(
        builder.Extent(0, std::numeric_limits<double>::quiet_NaN(), 1, 1).WriteTo(folder, "a"));
    Json const layer = RunForJson({"info", file, "--json"})[0];
    EXPECT_EQ(layer["extent"].dump(), "[0.0,null,1.0,1.0]");
    for (char const* const key : {"zRange", "measureRange", "crs", "epsg"}) {
        EXPECT_TRUE(layer[key].is_null()) << key;
    }
    EXPECT_EQ(layer["records"], 0);
}

TEST_F(Info, NamesTheGeometryClassOfEveryShapeType) {
    struct {
        std::int32_t type;
        char const* name;
        char const* geometryClass;
    } const cases[] = {{0, "Null Shape", "none"},  {21, "PointM", "points"},
                       {3, "PolyLine", "lines"},   {28, "MultiPointM", "multipoints"},
                       {31, "MultiPatch", "none"}, {-1, "", "none"}};
    for (auto const& c : cases) {
        std::string const file = Text(ShapefileBuilder(c.type).WriteTo(folder, "a"));
        Json const layer = RunForJson({"info", "--json", file})[0];
        EXPECT_EQ(layer["shapeType"], c.type);
        EXPECT_EQ(layer["shapeTypeName"], c.name);
        EXPECT_EQ(layer["geometryClass"], c.geometryClass);
    }
}

TEST_F(Info, PrintsATableForPeople) {
    ShapefileBuilder builder(1);
    builder.Field("größe", 'N', 6, 2).Row({"1.50"}).Point(-1.5, 2).Cpg("UTF-8");
    std::string const file = Text(builder.WriteTo(folder, "towns"));
    ToolRun const run = RunTool({file});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, "towns\n"
                       "  file      " +
                           file +
                           "\n"
                           "  type      Point (1), points\n"
                           "  records   1\n"
                           "  extent    x -1.5 to -1.5, y 2 to 2\n"
                           "  z         none\n"
                           "  measures  none\n"
                           "  crs       unknown\n"
                           "  fields    größe         double(6.2)\n");
}

TEST_F(Info, ShowsTheOthersWhenOneFileIsBad) {
    ShapefileBuilder(1).WriteTo(folder, "a");
    ShapefileBuilder(1).Version(999).WriteTo(folder, "b");
    ShapefileBuilder(1).WriteTo(folder, "c");
    ToolRun const run = RunTool({"info", "--json", folder.Path().string(), "/no/such/file.shp"});
    EXPECT_EQ(run.exitCode, 1);
    Json const layers = Json::parse(run.out);
    ASSERT_EQ(layers.size(), 2U);
    EXPECT_EQ(layers[1]["name"], "c");
    EXPECT_EQ(run.err, "ambrel-shp: BFileContentNotValidException: BShpFile::GetHeader: " +
                           Text(folder.File("b.shp")) +
                           "\nambrel-shp: BFileNotFoundException: BShpFile::Open: "
                           "/no/such/file.shp\n");
}

TEST_F(Info, ReportsAFolderWithoutShapefiles) {
    ToolRun const run = RunTool({"info", folder.Path().string()});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "ambrel-shp: BFileNotFoundException: BFileUtilities::ListFiles: no "
                       "shapefile in " +
                           folder.Path().string() + "\n");
}

} // namespace
} // namespace Ambrel::Test
