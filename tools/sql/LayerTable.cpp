#include "sql/LayerTable.h"

#include "formats/ColumnNames.h"
#include "formats/LayerDescription.h"
#include "formats/TextFormat.h"
#include "formats/WktText.h"
#include "sql/Database.h"
#include "sql/JoinIndex.h"
#include "terminal/Console.h"
#include "terminal/Explain.h"

#include "Ambrel/BFileUtilities.h"

#include <cmath>

#include <sqlite3.h>

namespace Ambrel::Tool {

namespace {

constexpr char const* wantedHiddenNames[] = {"record", "geometry", "xmin", "ymin", "xmax", "ymax"};
constexpr char const* hiddenTypes[] = {"INTEGER", "TEXT", "REAL", "REAL", "REAL", "REAL"};

char const* SqlType(EVariantType type) {
    switch (type) {
    case VAR_STRING:
    case VAR_DATE: return "TEXT";
    case VAR_DOUBLE:
    case VAR_FLOAT: return "REAL";
    case VAR_BOOLEAN: return "BOOLEAN";
    default: return "INTEGER";
    }
}

template <class... Cases>
struct Overloaded : Cases... {
    using Cases::operator()...;
};
template <class... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

} // namespace

void SetResult(sqlite3_context* context, SqlValue const& value) {
    auto const setText = [=](std::string_view text) {
        sqlite3_result_text64(context, text.data() ? text.data() : "", text.size(),
                              SQLITE_TRANSIENT, SQLITE_UTF8);
    };
    std::visit(Overloaded{[=](std::monostate) { sqlite3_result_null(context); },
                          [=](std::int64_t integer) { sqlite3_result_int64(context, integer); },
                          [=](double real) { sqlite3_result_double(context, real); },
                          [=](BString const& text) { setText(text.Utf8()); },
                          [=](std::string const& text) { setText(text); }},
               value);
}

void BindValue(Statement& statement, int parameter, SqlValue const& value) {
    std::visit(Overloaded{[&](std::monostate) { statement.BindNull(parameter); },
                          [&](std::int64_t integer) { statement.Bind(parameter, integer); },
                          [&](double real) { statement.Bind(parameter, real); },
                          [&](BString const& text) { statement.Bind(parameter, text.Utf8()); },
                          [&](std::string const& text) {
                              statement.Bind(parameter, std::string_view(text));
                          }},
               value);
}

LayerTable::LayerTable(Console& usedConsole, BString const& file, SourceOptions const& options,
                       std::string const& tableName)
    : console(usedConsole), fileName(file.Utf8()), name(tableName),
      source(usedConsole, file, options), features(&source.Layer().GetFeatures()),
      count(features->GetCount()) {
    LayerDescription const layer = DescribeLayer(source.Layer());
    hasMeasures = layer.hasMeasures;
    fieldNames = ColumnNames(layer.schema, {}, NameCase::Ignored);
    std::set<std::string> taken;
    for (std::string const& field : fieldNames) {
        DistinctName(field, taken, NameCase::Ignored);
    }
    for (char const* const hidden : wantedHiddenNames) {
        hiddenNames.push_back(DistinctName(hidden, taken, NameCase::Ignored));
    }
}

LayerTable::~LayerTable() = default;

std::string LayerTable::Declaration() const {
    std::string sql = "CREATE TABLE layer (";
    for (int i = 0; i < FieldCount(); ++i) {
        sql += QuotedName(fieldNames[static_cast<std::size_t>(i)]) + " " + TypeOf(i) + ", ";
    }
    for (int i = 0; i < hiddenColumns; ++i) {
        sql += QuotedName(hiddenNames[static_cast<std::size_t>(i)]) + " " + hiddenTypes[i];
        sql += i + 1 < hiddenColumns ? " HIDDEN, " : " HIDDEN)";
    }
    return sql;
}

char const* LayerTable::TypeOf(int column) const {
    BAttributeDefs const& schema = const_cast<Source&>(source).Layer().GetSchema();
    return column < FieldCount()
               ? SqlType(schema.GetAt(static_cast<std::uint64_t>(column)).GetType())
               : hiddenTypes[column - FieldCount()];
}

bool LayerTable::NeedsAttributes(ColumnSet columns) const noexcept {
    constexpr int bits = 64;
    bool const isFew = FieldCount() < bits - 1;
    ColumnSet const fields = isFew ? (ColumnSet{1} << FieldCount()) - 1 : ~ColumnSet{0};
    return (columns & fields) != 0;
}

BSharedPtr<BFeature> LayerTable::Fetch(std::uint64_t record, bool complete) {
    try {
        return features->GetAt(record, complete);
    } catch (StopException const&) {
        throw;
    } catch (BResourceException const&) {
        throw;
    } catch (BException const& error) {
        ++problems;
        PrintError(console,
                   "record " + std::to_string(record) + " is left out: " + Explain(error, {}),
                   fileName);
        return {};
    }
}

SqlValue LayerTable::ValueOf(std::uint64_t record, BFeature const& feature, int column) {
    switch (HiddenColumn const hidden = HiddenAt(column)) {
    case Record: return static_cast<std::int64_t>(record);
    case Geometry: return feature.GetGeometry() ? SqlValue(Wkt(feature)) : SqlValue();
    case hiddenColumns: return FieldValue(feature, column);
    default: return Bound(record, hidden);
    }
}

SqlValue LayerTable::FieldValue(BFeature const& feature, int column) const {
    auto const index = static_cast<std::uint64_t>(column);
    if (index >= feature.attributes.GetCount()) {
        return {};
    }
    BVariant const& value = feature.attributes.GetAt(index).GetValue();
    if (value.IsNull()) {
        return {};
    }
    switch (value.GetType()) {
    case VAR_DOUBLE:
    case VAR_FLOAT: return value.GetValueAsDouble(std::nan("")); // not a number is null in SQL
    case VAR_STRING: return value.GetValueAsString({});
    case VAR_DATE: return DateText(value.GetValueAsString({}).Utf8());
    case VAR_BOOLEAN: return std::int64_t{value.GetValueAsBoolean(false)};
    default: return value.GetValueAsInteger64(0);
    }
}

SqlValue LayerTable::Bound(std::uint64_t record, HiddenColumn column) {
    BRect const& rectangle = features->GetFeatureMBRAt(record);
    if (rectangle.IsEmpty()) {
        return {};
    }
    switch (column) {
    case XMin: return rectangle.xMin;
    case YMin: return rectangle.yMin;
    case XMax: return rectangle.xMax;
    default: return rectangle.yMax;
    }
}

std::string LayerTable::Wkt(BFeature const& feature) const {
    std::string text;
    AppendWkt(text, feature, *feature.GetGeometry(), hasMeasures, std::nullopt);
    return text;
}

std::vector<std::uint64_t> LayerTable::RecordsIn(BRect const& area) {
    std::vector<std::uint64_t> records;
    features->SelectFeatures(area, BParamList(), records);
    return records;
}

JoinIndex* LayerTable::IndexFor(std::string const& plan, int keyColumn, ColumnSet columns) {
    auto const [known, isFirstUse] = indexes.try_emplace(plan);
    if (!isFirstUse && !known->second) {
        known->second = std::make_unique<JoinIndex>(*this, keyColumn, columns);
    }
    return known->second.get();
}

} // namespace Ambrel::Tool
