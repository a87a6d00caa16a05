#pragma once

#include "Ambrel/BRect.h"

#include <cstdint>
#include <string>

namespace Ambrel::Tool {

class Database;

/// The tables that OGC 12-128r17 (GeoPackage 1.3) asks for, as text of SQL.

constexpr std::int32_t geoPackageApplicationId = 0x47504B47; ///< "GPKG"
constexpr std::int32_t geoPackageVersion = 10300;

constexpr char const* fidColumn = "fid";
constexpr char const* geometryColumn = "geom";

/// Creates the tables that every file has, with the three systems that it must know.
void CreateGeoPackage(Database& database);

/// What the file says of a layer whose features have been written.
struct GeoPackageLayerEntry {
    std::string table;
    std::string identifier;   ///< the layer's name as people read it
    std::string geometryType; ///< "POINT", ..., "GEOMETRY"
    std::int64_t systemId = 0;
    int z = 0; ///< 0: none has Z, 1: all have, 2: some have
    int m = 0; ///< the same for measures
    BRect extent;
};

/// The name of the layer's R-tree.
std::string SpatialIndexOf(std::string const& table);
/// Adds the layer to the file's tables of contents.
void RegisterLayer(Database& database, GeoPackageLayerEntry const& entry);
/// Adds the triggers that keep the R-tree true while others change the layer.
void AddIndexTriggers(Database& database, std::string const& table);

} // namespace Ambrel::Tool
