#pragma once

#include "formats/GeoPackageTables.h"
#include "formats/LayerDescription.h"
#include "formats/SpatialIndexLoader.h"
#include "sql/Database.h"

#include <vector>

namespace Ambrel::Tool {

/// One layer on its way into a GeoPackage: its table, its R-tree and what the table of contents
/// will say of it.
class GeoPackageLayer final {
public:
    /// Creates the tables. `table` is a name that the file does not have yet.
    GeoPackageLayer(Database& targetDatabase, std::string const& table,
                    LayerDescription const& description, std::int64_t systemId);

    /// Adds a feature, whose id becomes the record's index plus 1.
    void Add(std::uint64_t record, BFeature const& feature, BGeometry const* geometry);
    void Finish();

    /// The fields that go by another name in the table, as pairs of both.
    std::vector<std::pair<std::string, std::string>> const& Renamed() const noexcept {
        return renamed;
    }
    /// Values of date fields that are none.
    std::uint64_t WrongDates() const noexcept { return wrongDates; }

private:
    void CreateTable();
    void NameColumns();
    void BindGeometry(BFeature const& feature, BGeometry const& geometry);
    void BindValue(int parameter, BAttributeDef const& column, BVariant const& value,
                   BString& text);
    void BindDate(int parameter, std::string_view value);
    void CountGeometry(BGeometry const& geometry, bool hasMeasures);
    void StateGeometryType();

    Database& database;
    LayerDescription const& layer;
    GeoPackageLayerEntry entry;
    std::vector<std::string> columns; ///< of the attributes
    std::vector<std::pair<std::string, std::string>> renamed;
    std::unique_ptr<SpatialIndexLoader> index;
    std::unique_ptr<Statement> insertion;
    std::string blob;               ///< kept for its room, as are the next two
    std::vector<BString> texts;     ///< of the row
    std::vector<std::string> dates; ///< of the row
    BRect box;                      ///< of the geometry
    unsigned kindsSeen = 0;         ///< a bit for each GeometryKind
    std::uint64_t geometries = 0;
    std::uint64_t geometriesWithZ = 0;
    std::uint64_t geometriesWithMeasures = 0;
    std::uint64_t wrongDates = 0;
};

} // namespace Ambrel::Tool
