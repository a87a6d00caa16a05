#include "ToolRun.h"
#include "formats/Format.h"
#include "formats/GeometryWalk.h"
#include "sql/Database.h"
#include "terminal/Console.h"
#include "terminal/Interrupt.h"

#include <cmath>
#include <cstring>

namespace Ambrel::Test {
namespace {

namespace fs = std::filesystem;
using Tool::Database;
using Tool::Statement;

using GeoPackage = ToolTest;

/// All rows, their values separated by '|', one a line.
std::string Ask(std::string const& file, std::string const& sql) {
    Database database(file);
    Statement statement(database, sql);
    std::string text;
    while (statement.Step()) {
        text += statement.Text(0);
        for (int column = 1; column < statement.Columns(); ++column) {
            text += '|';
            text += statement.Text(column);
        }
        text += '\n';
    }
    return text;
}

template <class T>
T ValueAt(std::string_view bytes, std::size_t offset) {
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

/// What clause 2.1.3 says of geometry blobs, and that the R-tree has their envelopes rounded
/// outwards. Returns the code of the geometry's kind.
std::uint32_t ExpectSoundBlob(std::string_view blob, std::int64_t system, Statement& node) {
    EXPECT_EQ(blob.substr(0, 3), std::string_view("GP\0", 3));
    auto const flags = static_cast<unsigned char>(blob[3]);
    EXPECT_EQ(flags & ~0x10, flags & 0x10 ? 0x01 : 0x03);
    EXPECT_EQ(ValueAt<std::int32_t>(blob, 4), system);
    bool const isEmpty = (flags & 0x10) != 0;
    EXPECT_EQ(node.Step(), !isEmpty);
    if (!isEmpty) {
        for (int i = 0; i < 4; ++i) {
            double const bound = ValueAt<double>(blob, 8 + 8 * static_cast<std::size_t>(i));
            double const rounded = node.Real(i);
            EXPECT_TRUE(i % 2 == 0 ? rounded <= bound : rounded >= bound);
            EXPECT_NEAR(rounded, bound, std::abs(bound) * 2e-7);
        }
    }
    std::size_t const start = isEmpty ? 8 : 40;
    EXPECT_EQ(blob[start], 1);
    return ValueAt<std::uint32_t>(blob, start + 1);
}

/// Holds the file against the rules of the standard that a program can check.
void ExpectSound(std::string const& file) {
    EXPECT_EQ(Ask(file, "PRAGMA application_id") + Ask(file, "PRAGMA user_version"),
              std::to_string(0x47504B47) + "\n10300\n");
    EXPECT_EQ(Ask(file, "PRAGMA integrity_check") + Ask(file, "PRAGMA foreign_key_check"), "ok\n");
    EXPECT_EQ(Ask(file, "SELECT srs_id, organization, organization_coordsys_id FROM "
                        "gpkg_spatial_ref_sys WHERE srs_id IN (-1, 0, 4326)"),
              "-1|NONE|-1\n0|NONE|0\n4326|EPSG|4326\n");
    EXPECT_EQ(Ask(file, "SELECT count(*) FROM gpkg_spatial_ref_sys WHERE definition = ''"), "0\n");
    Database database(file);
    Statement layers(database, "SELECT table_name, column_name, g.srs_id, geometry_type_name FROM "
                               "gpkg_contents c JOIN gpkg_geometry_columns g USING (table_name) "
                               "WHERE data_type = 'features' AND c.srs_id = g.srs_id");
    while (layers.Step()) {
        std::string const table(layers.Text(0));
        std::string const column(layers.Text(1));
        std::string const index = "rtree_" + table + "_" + column;
        EXPECT_EQ(Ask(file, "SELECT rtreecheck(" + Tool::QuotedText(index) + ")"), "ok\n");
        EXPECT_EQ(Ask(file, "SELECT replace(name, " + Tool::QuotedText(index) +
                                ", '') FROM sqlite_schema WHERE type = 'trigger' AND tbl_name = " +
                                Tool::QuotedText(table) + " ORDER BY 1"),
                  "_delete\n_insert\n_update1\n_update2\n_update3\n_update4\n");
        EXPECT_EQ(Ask(file, "SELECT type, pk FROM pragma_table_info(" + Tool::QuotedText(table) +
                                ") WHERE name IN ('fid', 'geom') ORDER BY cid"),
                  "INTEGER|1\n" + std::string(layers.Text(3)) + "|0\n");
        EXPECT_EQ(Ask(file, "SELECT column_name, extension_name, scope FROM gpkg_extensions WHERE "
                            "table_name = " +
                                Tool::QuotedText(table)),
                  column + "|gpkg_rtree_index|write-only\n");
        Statement rows(database,
                       "SELECT fid, geom FROM " + Tool::QuotedName(table) + " WHERE geom NOT NULL");
        while (rows.Step()) {
            Statement node(database, "SELECT minx, maxx, miny, maxy FROM " +
                                         Tool::QuotedName(index) + " WHERE id = ?");
            node.Bind(1, rows.Integer(0));
            ExpectSoundBlob(rows.Text(1), layers.Integer(2), node);
        }
    }
}

TEST_F(GeoPackage, HasEveryValue) {
    ShapefileBuilder builder(11);
    builder.Field("FID", 'N', 5).Field("Geom", 'C', 4).Field("day", 'D', 8).Field("yes", 'L', 1);
    builder.Field("long", 'N', 18).Field("real", 'N', 9, 3);
    builder.Row({"7", "ä'\"", "20240229", "T", "123456789012345678", "1.250"}).Point(1, 2, 3, 4);
    builder.Row({"8", "", "20230229", "F", "-5", "0.001"}).Null().MRange(1, 9);
    Write(builder);
    EXPECT_EQ(RunTool("export map.shp -o map.gpkg"),
              (ToolRun{0, "",
                       "ambrel-shp: warning: the field \"FID\" is written as \"FID_2\" (map.shp)\n"
                       "ambrel-shp: warning: the field \"Geom\" is written as \"Geom_2\" "
                       "(map.shp)\n"
                       "ambrel-shp: warning: 1 values of date fields are no dates; they are "
                       "written as nulls (map.shp)\n"}));
    ExpectSound("map.gpkg");
    EXPECT_EQ(Ask("map.gpkg", "SELECT fid, hex(geom), FID_2, quote(Geom_2), quote(day), yes, long, "
                              "real FROM map"),
              "1|4750000"
              "3FFFFFFFF000000000000F03F000000000000F03F00000000000000400000000000000040"
              "01B90B0000000000000000F03F000000000000004000000000000008400000000000001040"
              "|7|'ä''\"'|'2024-02-29'|1|123456789012345678|1.25\n"
              "2||8|''|NULL|0|-5|0.001\n");
    EXPECT_EQ(Ask("map.gpkg", "SELECT name, type FROM pragma_table_info('map') ORDER BY cid"),
              "fid|INTEGER\ngeom|POINT\nFID_2|MEDIUMINT\nGeom_2|TEXT(4)\nday|DATE\nyes|BOOLEAN\n"
              "long|INTEGER\nreal|DOUBLE\n");
    EXPECT_EQ(Ask("map.gpkg", "SELECT geometry_type_name, srs_id, z, m FROM gpkg_geometry_columns"),
              "POINT|-1|1|1\n");
}

/// Writes the layers into one file, as they were read.
void WriteLayers(std::string const& file, std::vector<Tool::LayerDescription> const& layers,
                 std::vector<BSharedPtr<BFeature>> const& features) {
    Tool::StringSink out;
    Tool::StringSink err;
    Tool::Console console{.out = out, .err = err};
    auto const writer = Tool::FormatFor("", file).make(console, file, {});
    for (Tool::LayerDescription const& layer : layers) {
        writer->BeginLayer(layer);
        for (std::uint64_t i = 0; i < features.size(); ++i) {
            writer->Write(i, *features[i], features[i]->GetGeometry().Get());
        }
        writer->EndLayer();
    }
    writer->Finish();
}

BSharedPtr<BFeature> LineFeature(double offset, bool isMultiple) {
    BSharedPtr<BFeature> feature(new BFeature);
    BSharedPtr<BLinearGeo> const line(new BPolyline);
    static_cast<BPolyline&>(*line).AddPoint(BPoint(offset, 1));
    static_cast<BPolyline&>(*line).AddPoint(BPoint(offset + 0.1, 2));
    auto* const lines = new BAggregateLinear;
    lines->Add(line);
    BSharedPtr<BGeometry> const members(lines);
    feature->SetGeometry(isMultiple ? members : BSharedPtr<BGeometry>(line));
    return feature;
}

TEST_F(GeoPackage, HoldsSeveralLayersAndSystems) {
    BSharedPtr<BCoordSys> const utm(BCoordSys::FromText("EPSG:32632"));
    BSharedPtr<BCoordSys> const own(BCoordSys::FromText(
        "PROJCS[\"Mine\",GEOGCS[\"WGS 84\",DATUM[\"WGS_1984\",SPHEROID[\"WGS 84\",6378137,"
        "298.257223563]],PRIMEM[\"Greenwich\",0],UNIT[\"degree\",0.0174532925199433]],"
        "PROJECTION[\"Transverse_Mercator\"],PARAMETER[\"latitude_of_origin\",1.5],"
        "PARAMETER[\"central_meridian\",7.25],PARAMETER[\"scale_factor\",0.9],"
        "PARAMETER[\"false_easting\",3],PARAMETER[\"false_northing\",4],UNIT[\"metre\",1]]"));
    std::vector<BSharedPtr<BFeature>> features;
    for (int i = 0; i < 3000; ++i) { // a tree of three levels
        features.push_back(LineFeature(std::fmod(i * 617.3, 1000) - 500, i % 2 == 1));
    }
    features.push_back(BSharedPtr<BFeature>(new BFeature));
    WriteLayers("a.gpkg",
                {{.name = "Roads", .schema = {}, .coordSys = utm},
                 {.name = "roads", .schema = {}, .coordSys = own},
                 {.name = "gpkg_contents", .schema = {}, .coordSys = own},
                 {.name = "a \"b\" ' c", .schema = {}, .coordSys = {}}},
                features);
    ExpectSound("a.gpkg");
    EXPECT_EQ(Ask("a.gpkg", "SELECT table_name, srs_id, geometry_type_name, organization FROM "
                            "gpkg_geometry_columns JOIN gpkg_spatial_ref_sys USING (srs_id)"),
              "Roads|32632|GEOMETRY|EPSG\nroads_2|100000|GEOMETRY|NONE\n"
              "layer_gpkg_contents|100000|GEOMETRY|NONE\na \"b\" ' c|-1|GEOMETRY|NONE\n");
    EXPECT_EQ(Ask("a.gpkg", "SELECT count(*), min(fid), max(fid) FROM roads_2"), "3001|1|3001\n");
    EXPECT_EQ(Ask("a.gpkg", "SELECT count(*) FROM rtree_roads_2_geom WHERE minx > 0"),
              Ask("a.gpkg", "SELECT count(*) FROM rtree_roads_2_geom WHERE minx > 0 AND 1 + id"));
    EXPECT_EQ(Ask("a.gpkg", "SELECT definition LIKE 'PROJCS[\"Mine\"%' FROM gpkg_spatial_ref_sys "
                            "WHERE srs_id = 100000"),
              "1\n");
}

TEST_F(GeoPackage, TakesSeveralLayersFromTheCommandLine) {
    Write(ShapefileBuilder(1).Point(1, 2), "a");
    Write(ShapefileBuilder(3).Polyline({{{1, 2}, {3, 4}}}), "b");
    EXPECT_EQ(RunTool("export a.shp b.shp -o all.gpkg"), Printed(""));
    ExpectSound("all.gpkg");
    EXPECT_EQ(Ask("all.gpkg", "SELECT table_name, geometry_type_name FROM gpkg_geometry_columns"),
              "a|POINT\nb|LINESTRING\n");
    EXPECT_EQ(RunTool("export a.shp b.shp -o all.csv").exitCode, 2);
}

TEST_F(GeoPackage, ReplacesAFileWholeOrNotAtAll) {
    Write(ShapefileBuilder(1).Point(1, 2));
    std::ofstream("map.gpkg") << "old";
    Tool::SetInterrupted(true);
    EXPECT_EQ(RunTool("export map.shp -o map.gpkg").exitCode, 130);
    Tool::SetInterrupted(false);
    EXPECT_EQ(TextOf("map.gpkg"), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator("."), {}), 4);
    EXPECT_EQ(RunTool("export map.shp -o map.gpkg"), Printed(""));
    ExpectSound("map.gpkg");
    EXPECT_EQ(RunTool("export map.shp --format gpkg").exitCode, 2);
    EXPECT_EQ(RunTool("export map.shp -o no/map.gpkg").exitCode, 1);
}

} // namespace
} // namespace Ambrel::Test
