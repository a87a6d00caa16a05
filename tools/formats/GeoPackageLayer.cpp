#include "formats/GeoPackageLayer.h"

#include "formats/ColumnNames.h"
#include "formats/GeometryWalk.h"
#include "formats/Measures.h"
#include "formats/TextFormat.h"
#include "formats/WkbBytes.h"

#include <cmath>
#include <cstring>

namespace Ambrel::Tool {

namespace {

/// The head of a geometry's blob: "GP", version 0, flags, system, and the envelope where the flags
/// say that there is one.
constexpr char littleEndian = 0x01;
constexpr char hasEnvelope = 0x02; ///< x and y
constexpr char isEmptyGeometry = 0x10;

constexpr char const* anyGeometry = "GEOMETRY";
constexpr int firstField = 3; ///< parameter of the insertion

std::string ColumnType(BAttributeDef const& field) {
    switch (field.GetType()) {
    case VAR_STRING: return "TEXT(" + std::to_string(std::max(field.width, 1)) + ")";
    case VAR_DATE: return "DATE";
    case VAR_BOOLEAN: return "BOOLEAN";
    case VAR_DOUBLE:
    case VAR_FLOAT: return "DOUBLE";
    case VAR_INTEGER64:
    case VAR_UNSIGNED_INTEGER64:
    case VAR_UNSIGNED_INTEGER: return "INTEGER";
    default: return "MEDIUMINT"; // 32 bits
    }
}

std::string InCapitals(std::string text) {
    for (char& c : text) {
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
    }
    return text;
}

int StateOf(std::uint64_t some, std::uint64_t all) {
    return some == 0 ? 0 : some == all ? 1 : 2;
}

template <class T>
void Append(std::string& bytes, T value) {
    bytes.append(reinterpret_cast<char const*>(&value), sizeof value);
}

} // namespace

GeoPackageLayer::GeoPackageLayer(Database& targetDatabase, std::string const& table,
                                 LayerDescription const& description, std::int64_t systemId)
    : database(targetDatabase), layer(description), entry{.table = table,
                                                          .identifier = table,
                                                          .geometryType = anyGeometry,
                                                          .systemId = systemId,
                                                          .extent = {}},
      texts(description.schema.GetCount()), dates(description.schema.GetCount()) {
    NameColumns();
    CreateTable();
    index = std::make_unique<SpatialIndexLoader>(database, SpatialIndexOf(table));
    std::string sql = "INSERT INTO " + QuotedName(table) + " VALUES (?, ?";
    for (std::size_t i = 0; i < columns.size(); ++i) {
        sql += ", ?";
    }
    insertion = std::make_unique<Statement>(database, sql + ")");
}

void GeoPackageLayer::NameColumns() {
    columns = ColumnNames(layer.schema, {fidColumn, geometryColumn}, NameCase::Ignored);
    for (std::uint64_t i = 0; i < columns.size(); ++i) {
        std::string const name(layer.schema.GetAt(i).name.Utf8());
        if (columns[i] != name) {
            renamed.emplace_back(name, columns[i]);
        }
    }
}

void GeoPackageLayer::CreateTable() {
    std::string sql = "CREATE TABLE " + QuotedName(entry.table) + " (" + QuotedName(fidColumn) +
                      " INTEGER PRIMARY KEY AUTOINCREMENT NOT NULL, " + QuotedName(geometryColumn) +
                      " " + anyGeometry;
    for (std::uint64_t i = 0; i < columns.size(); ++i) {
        sql += ", " + QuotedName(columns[i]) + " " + ColumnType(layer.schema.GetAt(i));
    }
    database.Execute(sql + ")");
}

void GeoPackageLayer::Add(std::uint64_t record, BFeature const& feature,
                          BGeometry const* geometry) {
    insertion->Bind(1, static_cast<std::int64_t>(record + 1));
    if (geometry) {
        BindGeometry(feature, *geometry);
        if (!box.IsEmpty()) {
            index->Add(static_cast<std::uint32_t>(record + 1), box);
        }
    } else {
        insertion->BindNull(2);
    }
    for (std::uint64_t i = 0; i < columns.size(); ++i) {
        int const parameter = firstField + static_cast<int>(i);
        if (i < feature.attributes.GetCount()) {
            BindValue(parameter, layer.schema.GetAt(i), feature.attributes.GetAt(i).GetValue(),
                      texts[i]);
        } else {
            insertion->BindNull(parameter);
        }
    }
    insertion->Run();
}

void GeoPackageLayer::BindGeometry(BFeature const& feature, BGeometry const& geometry) {
    box = BoxOf(geometry);
    bool const hasBox = !box.IsEmpty();
    blob.assign("GP\0", 3);
    blob += static_cast<char>(littleEndian | (hasBox ? hasEnvelope : isEmptyGeometry));
    Append(blob, static_cast<std::int32_t>(entry.systemId));
    if (hasBox) {
        for (double const bound : {box.xMin, box.xMax, box.yMin, box.yMax}) {
            Append(blob, bound);
        }
        entry.extent.Union(box);
    }
    std::size_t const start = blob.size();
    AppendWkb(blob, feature, geometry, layer.hasMeasures);
    std::uint32_t code = 0; // behind the byte order
    std::memcpy(&code, blob.data() + start + 1, sizeof code);
    CountGeometry(geometry, code >= 2000);
    insertion->BindBlob(2, blob);
}

void GeoPackageLayer::CountGeometry(BGeometry const& geometry, bool hasMeasures) {
    ++geometries;
    geometriesWithZ += geometry.is3d != 0 ? 1 : 0;
    geometriesWithMeasures += hasMeasures ? 1 : 0;
    if (std::optional<GeometryKind> const kind = KindOf(geometry)) {
        kindsSeen |= 1U << static_cast<unsigned>(*kind);
    }
}

void GeoPackageLayer::BindValue(int parameter, BAttributeDef const& column, BVariant const& value,
                                BString& text) {
    if (value.IsNull()) {
        insertion->BindNull(parameter);
        return;
    }
    switch (column.GetType()) {
    case VAR_DOUBLE:
    case VAR_FLOAT: {
        double const number = value.GetValueAsDouble(std::nan(""));
        std::isfinite(number) ? insertion->Bind(parameter, number) : insertion->BindNull(parameter);
        return;
    }
    case VAR_BOOLEAN:
        insertion->Bind(parameter, std::int64_t{value.GetValueAsBoolean(false)});
        return;
    case VAR_DATE: return BindDate(parameter, value.GetValueAsString({}).Utf8());
    case VAR_STRING:
        text = value.GetValueAsString({});
        insertion->Bind(parameter, text.Utf8());
        return;
    default: insertion->Bind(parameter, value.GetValueAsInteger64(0));
    }
}

/// A date that the calendar does not have is null: the standard's type has no other values.
void GeoPackageLayer::BindDate(int parameter, std::string_view value) {
    std::string& date = dates[static_cast<std::size_t>(parameter - firstField)];
    date = DateText(value);
    if (date.size() != value.size()) { // it has got its hyphens
        insertion->Bind(parameter, date);
    } else {
        ++wrongDates;
        insertion->BindNull(parameter);
    }
}

void GeoPackageLayer::Finish() {
    insertion.reset();
    index->Finish();
    index.reset();
    StateGeometryType();
    entry.z = StateOf(geometriesWithZ, geometries);
    entry.m = StateOf(geometriesWithMeasures, geometries);
    RegisterLayer(database, entry);
    AddIndexTriggers(database, entry.table);
}

/// A shapefile mixes lines and multilines. Where it does not, the narrower type is stated, in the
/// table's definition too.
void GeoPackageLayer::StateGeometryType() {
    for (unsigned kind = 1; kind <= static_cast<unsigned>(GeometryKind::MultiPolygon); ++kind) {
        if (kindsSeen == 1U << kind) {
            entry.geometryType = InCapitals(NameOf(static_cast<GeometryKind>(kind)));
        }
    }
    if (entry.geometryType == anyGeometry) {
        return;
    }
    std::string const column = QuotedName(geometryColumn) + " ";
    database.Execute("PRAGMA writable_schema=ON");
    Statement change(database, "UPDATE sqlite_schema SET sql = replace(sql, ?, ?) WHERE name = ?");
    std::string const wide = column + anyGeometry;
    std::string const narrow = column + entry.geometryType;
    change.Bind(1, wide).Bind(2, narrow).Bind(3, entry.table).Run();
    database.Execute("PRAGMA writable_schema=RESET");
}

} // namespace Ambrel::Tool
