#include "formats/GeoPackageTables.h"

#include "sql/Database.h"

namespace Ambrel::Tool {

namespace {

constexpr char const* tables = R"(
CREATE TABLE gpkg_spatial_ref_sys (
  srs_name TEXT NOT NULL,
  srs_id INTEGER NOT NULL PRIMARY KEY,
  organization TEXT NOT NULL,
  organization_coordsys_id INTEGER NOT NULL,
  definition TEXT NOT NULL,
  description TEXT
);
CREATE TABLE gpkg_contents (
  table_name TEXT NOT NULL PRIMARY KEY,
  data_type TEXT NOT NULL,
  identifier TEXT UNIQUE,
  description TEXT DEFAULT '',
  last_change DATETIME NOT NULL DEFAULT (strftime('%Y-%m-%dT%H:%M:%fZ','now')),
  min_x DOUBLE,
  min_y DOUBLE,
  max_x DOUBLE,
  max_y DOUBLE,
  srs_id INTEGER,
  CONSTRAINT fk_gc_r_srs_id FOREIGN KEY (srs_id) REFERENCES gpkg_spatial_ref_sys(srs_id)
);
CREATE TABLE gpkg_geometry_columns (
  table_name TEXT NOT NULL,
  column_name TEXT NOT NULL,
  geometry_type_name TEXT NOT NULL,
  srs_id INTEGER NOT NULL,
  z TINYINT NOT NULL,
  m TINYINT NOT NULL,
  CONSTRAINT pk_geom_cols PRIMARY KEY (table_name, column_name),
  CONSTRAINT uk_gc_table_name UNIQUE (table_name),
  CONSTRAINT fk_gc_tn FOREIGN KEY (table_name) REFERENCES gpkg_contents(table_name),
  CONSTRAINT fk_gc_srs FOREIGN KEY (srs_id) REFERENCES gpkg_spatial_ref_sys(srs_id)
);
CREATE TABLE gpkg_extensions (
  table_name TEXT,
  column_name TEXT,
  extension_name TEXT NOT NULL,
  definition TEXT NOT NULL,
  scope TEXT NOT NULL,
  CONSTRAINT ge_tce UNIQUE (table_name, column_name, extension_name)
);
)";

constexpr char const* requiredSystems = R"(
INSERT INTO gpkg_spatial_ref_sys VALUES
  ('Undefined Cartesian SRS', -1, 'NONE', -1, 'undefined',
   'undefined Cartesian coordinate reference system'),
  ('Undefined geographic SRS', 0, 'NONE', 0, 'undefined',
   'undefined geographic coordinate reference system'),
  ('WGS 84 geodetic', 4326, 'EPSG', 4326,
   'GEOGCS["WGS 84",DATUM["WGS_1984",SPHEROID["WGS 84",6378137,298.257223563,)"
                                        R"(AUTHORITY["EPSG","7030"]],AUTHORITY["EPSG","6326"]],)"
                                        R"(PRIMEM["Greenwich",0,AUTHORITY["EPSG","8901"]],)"
                                        R"(UNIT["degree",0.0174532925199433,)"
                                        R"(AUTHORITY["EPSG","9122"]],AXIS["Latitude",NORTH],)"
                                        R"(AXIS["Longitude",EAST],AUTHORITY["EPSG","4326"]]',
   'longitude/latitude coordinates in decimal degrees on the WGS 84 spheroid');
)";

/// "$R" stands for the R-tree, "$T" for the layer's table, "$C" for its geometry, "$I" for its id.
/// "$B" is the new box, as values of the R-tree.
constexpr char const* triggers[][2] = {
    {"_insert", R"( AFTER INSERT ON $T
WHEN (NEW.$C NOT NULL AND NOT ST_IsEmpty(NEW.$C))
BEGIN INSERT OR REPLACE INTO $R VALUES ($B); END)"},
    {"_update1", R"( AFTER UPDATE OF $C ON $T
WHEN OLD.$I = NEW.$I AND (NEW.$C NOTNULL AND NOT ST_IsEmpty(NEW.$C))
BEGIN INSERT OR REPLACE INTO $R VALUES ($B); END)"},
    {"_update2", R"( AFTER UPDATE OF $C ON $T
WHEN OLD.$I = NEW.$I AND (NEW.$C ISNULL OR ST_IsEmpty(NEW.$C))
BEGIN DELETE FROM $R WHERE id = OLD.$I; END)"},
    {"_update3", R"( AFTER UPDATE ON $T
WHEN OLD.$I != NEW.$I AND (NEW.$C NOTNULL AND NOT ST_IsEmpty(NEW.$C))
BEGIN DELETE FROM $R WHERE id = OLD.$I; INSERT OR REPLACE INTO $R VALUES ($B); END)"},
    {"_update4", R"( AFTER UPDATE ON $T
WHEN OLD.$I != NEW.$I AND (NEW.$C ISNULL OR ST_IsEmpty(NEW.$C))
BEGIN DELETE FROM $R WHERE id IN (OLD.$I, NEW.$I); END)"},
    {"_delete", R"( AFTER DELETE ON $T
WHEN OLD.$C NOT NULL
BEGIN DELETE FROM $R WHERE id = OLD.$I; END)"},
};

constexpr char const* newBox =
    "NEW.$I, ST_MinX(NEW.$C), ST_MaxX(NEW.$C), ST_MinY(NEW.$C), ST_MaxY(NEW.$C)";

constexpr char const* indexDefinition = "http://www.geopackage.org/spec130/#extension_rtree";

/// The text with what its placeholders stand for.
std::string Filled(std::string_view text, std::string const& table) {
    std::string filled;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '$') {
            filled += text[i];
            continue;
        }
        switch (text[++i]) {
        case 'R': filled += QuotedName(SpatialIndexOf(table)); break;
        case 'T': filled += QuotedName(table); break;
        case 'C': filled += QuotedName(geometryColumn); break;
        case 'B': filled += Filled(newBox, table); break;
        default: filled += QuotedName(fidColumn);
        }
    }
    return filled;
}

} // namespace

void CreateGeoPackage(Database& database) {
    database.Execute("PRAGMA application_id=" + std::to_string(geoPackageApplicationId) +
                     ";PRAGMA user_version=" + std::to_string(geoPackageVersion));
    database.Execute(tables);
    database.Execute(requiredSystems);
}

std::string SpatialIndexOf(std::string const& table) {
    return "rtree_" + table + "_" + geometryColumn;
}

void RegisterLayer(Database& database, GeoPackageLayerEntry const& entry) {
    Statement contents(database,
                       "INSERT INTO gpkg_contents (table_name, data_type, identifier, min_x, "
                       "min_y, max_x, max_y, srs_id) VALUES (?, 'features', ?, ?, ?, ?, ?, ?)");
    contents.Bind(1, entry.table).Bind(2, entry.identifier).Bind(7, entry.systemId);
    if (!entry.extent.IsEmpty()) {
        contents.Bind(3, entry.extent.xMin).Bind(4, entry.extent.yMin);
        contents.Bind(5, entry.extent.xMax).Bind(6, entry.extent.yMax);
    }
    contents.Run();
    Statement geometry(database, "INSERT INTO gpkg_geometry_columns VALUES (?, ?, ?, ?, ?, ?)");
    geometry.Bind(1, entry.table).Bind(2, geometryColumn).Bind(3, entry.geometryType);
    geometry.Bind(4, entry.systemId);
    geometry.Bind(5, std::int64_t{entry.z}).Bind(6, std::int64_t{entry.m}).Run();
    Statement extension(database, "INSERT INTO gpkg_extensions VALUES (?, ?, 'gpkg_rtree_index', "
                                  "?, 'write-only')");
    extension.Bind(1, entry.table).Bind(2, geometryColumn).Bind(3, indexDefinition).Run();
}

void AddIndexTriggers(Database& database, std::string const& table) {
    for (auto const& [suffix, body] : triggers) {
        database.Execute("CREATE TRIGGER " + QuotedName(SpatialIndexOf(table) + suffix) +
                         Filled(body, table));
    }
}

} // namespace Ambrel::Tool
