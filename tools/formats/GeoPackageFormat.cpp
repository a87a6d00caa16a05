// GeoPackage 1.3 (OGC 12-128r17): a database of SQLite with a table for each layer.

#include "formats/ColumnNames.h"
#include "formats/Format.h"
#include "formats/GeoPackageLayer.h"
#include "formats/OutputFile.h"
#include "sql/Database.h"
#include "terminal/Console.h"

#include <cerrno>
#include <map>
#include <set>

#include <sqlite3.h>

namespace Ambrel::Tool {

namespace {

constexpr std::int64_t unknownSystem = -1;      ///< "undefined Cartesian"
constexpr std::int64_t firstOwnSystem = 100000; ///< above the codes of the registers

/// The coordinate systems that the file has.
class GeoPackageSystems {
public:
    explicit GeoPackageSystems(Database& targetDatabase) : database(targetDatabase) {}

    /// The id of the system in the file, which has it from then on.
    std::int64_t IdOf(BCoordSys const* system) {
        if (!system) {
            return unknownSystem;
        }
        std::optional<int> const code = system->GetEpsgCode();
        std::string const definition(system->ToWkt().Utf8());
        if (code) {
            if (codes.insert(*code).second) {
                Insert(std::string(system->GetName().Utf8()), *code, "EPSG", definition);
            }
            return *code;
        }
        auto const [own, isOwnNew] = ownSystems.try_emplace(
            definition, firstOwnSystem + static_cast<std::int64_t>(ownSystems.size()));
        if (isOwnNew) {
            Insert(std::string(system->GetName().Utf8()), own->second, "NONE", definition);
        }
        return own->second;
    }

private:
    void Insert(std::string const& name, std::int64_t id, char const* organization,
                std::string const& definition) {
        Statement insertion(database,
                            "INSERT INTO gpkg_spatial_ref_sys VALUES (?, ?, ?, ?, ?, NULL)");
        insertion.Bind(1, name).Bind(2, id).Bind(3, organization).Bind(4, id);
        insertion.Bind(5, definition).Run();
    }

    Database& database;
    std::set<int> codes = {4326}; ///< every file has it
    std::map<std::string, std::int64_t> ownSystems;
};

class GeoPackageWriter final : public FeatureWriter {
public:
    GeoPackageWriter(Console& usedConsole, std::string const& outputPath)
        : console(usedConsole), path(outputPath), output(usedConsole, outputPath) {
        if (output.TemporaryPath().empty()) {
            throw UsageException("--output: a GeoPackage is a file, which " + path + " is not");
        }
        Guarded([&] {
            database = std::make_unique<Database>(output.TemporaryPath());
            // Nobody else sees the file before it is whole, so nothing needs to be taken back.
            database->Execute("PRAGMA journal_mode=OFF;PRAGMA synchronous=OFF;"
                              "PRAGMA locking_mode=EXCLUSIVE;PRAGMA cache_size=-8192;"
                              "PRAGMA page_size=4096;BEGIN");
            CreateGeoPackage(*database);
            systems = std::make_unique<GeoPackageSystems>(*database);
        });
    }

    void BeginLayer(LayerDescription const& description) override {
        Guarded([&] {
            layer = std::make_unique<GeoPackageLayer>(*database, TableFor(description.name),
                                                      description,
                                                      systems->IdOf(description.coordSys.Get()));
        });
        for (auto const& [field, column] : layer->Renamed()) {
            PrintWarning(console, std::string("the field \"")
                                      .append(field)
                                      .append("\" is written as \"")
                                      .append(column) += '"');
        }
    }

    void Write(std::uint64_t record, BFeature const& feature, BGeometry const* geometry) override {
        Guarded([&] { layer->Add(record, feature, geometry); });
    }

    void EndLayer() override {
        Guarded([&] { layer->Finish(); });
        if (layer->WrongDates() > 0) {
            PrintWarning(console, std::to_string(layer->WrongDates()) +
                                      " values of date fields are no dates; they are written as "
                                      "nulls");
        }
        layer.reset();
    }

    void Finish() override {
        Guarded([&] { database->Execute("COMMIT"); });
        systems.reset();
        database.reset();
        output.Commit();
    }

private:
    /// What the file's own tables are called like is not free.
    std::string TableFor(std::string const& layerName) {
        std::string wanted = layerName.empty() ? "layer" : layerName;
        for (std::string_view const prefix : {"gpkg_", "rtree_", "sqlite_"}) {
            if (sqlite3_strnicmp(wanted.c_str(), prefix.data(), static_cast<int>(prefix.size())) ==
                0) {
                wanted.insert(0, "layer_");
            }
        }
        std::string const table = DistinctName(wanted, tables, NameCase::Ignored);
        if (table != layerName) {
            PrintWarning(console,
                         "the layer \"" + layerName + "\" is written as \"" + table + "\"");
        }
        return table;
    }

    template <class Action>
    void Guarded(Action&& action) {
        try {
            action();
        } catch (SqlException const& error) {
            if (error.Code() == SQLITE_FULL) {
                throw OutputException(path, ENOSPC);
            }
            throw OutputException(path, error.what());
        }
    }

    Console& console;
    std::string path;
    OutputFile output;
    std::unique_ptr<Database> database;
    std::unique_ptr<GeoPackageSystems> systems;
    std::set<std::string> tables;
    std::unique_ptr<GeoPackageLayer> layer;
};

std::unique_ptr<FeatureWriter> Make(Console& console, std::string const& path,
                                    FormatOptions const&) {
    return std::make_unique<GeoPackageWriter>(console, path);
}

} // namespace

Format GeoPackageFormat() {
    return {.name = "gpkg",
            .extensions = {".gpkg"},
            .holdsSeveralLayers = true,
            .isText = false,
            .make = Make};
}

} // namespace Ambrel::Tool
