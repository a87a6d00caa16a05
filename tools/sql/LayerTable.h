#pragma once

#include "source/Source.h"

#include "Ambrel/BRect.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

struct sqlite3_context;

namespace Ambrel::Tool {

struct Console;
class JoinIndex;
class Statement;

/// A value as SQL has it: null, a number or a text.
using SqlValue = std::variant<std::monostate, std::int64_t, double, BString, std::string>;
void SetResult(sqlite3_context* context, SqlValue const& value);
void BindValue(Statement& statement, int parameter, SqlValue const& value);

/// A bit for each column, as SQLite tells which of them a query needs; the last stands for all
/// columns from the 64th on.
using ColumnSet = std::uint64_t;

/// A layer as a table of SQL: its fields, and hidden columns behind them that `SELECT *` leaves
/// out: record, geometry (well-known text), and the bounds of the record's rectangle as the file
/// states it. A row is a record; what a query does not ask for is not read.
class LayerTable final {
public:
    enum HiddenColumn { Record, Geometry, XMin, YMin, XMax, YMax, hiddenColumns };

    /// The table will be called `tableName`. Throws what opening the file throws.
    LayerTable(Console& console, BString const& file, SourceOptions const& options,
               std::string const& tableName);
    ~LayerTable();
    LayerTable(LayerTable const&) = delete;
    LayerTable& operator=(LayerTable const&) = delete;

    std::string const& Name() const noexcept { return name; }
    /// The text of SQL that declares the columns.
    std::string Declaration() const;
    /// The type that a column is declared with.
    char const* TypeOf(int column) const;
    int FieldCount() const noexcept { return static_cast<int>(fieldNames.size()); }
    /// How many records there are.
    std::uint64_t Count() const { return count; }
    /// What a number of the hidden columns stands for; hiddenColumns for a field.
    HiddenColumn HiddenAt(int column) const noexcept {
        return column < FieldCount() ? hiddenColumns
                                     : static_cast<HiddenColumn>(column - FieldCount());
    }
    /// Whether any of the columns comes from the table, so that a fetch has to be complete.
    bool NeedsAttributes(ColumnSet columns) const noexcept;

    /// The feature of a record; empty where it is left out, because it is deleted or cannot be
    /// read, which has been told then.
    BSharedPtr<BFeature> Fetch(std::uint64_t record, bool complete);
    /// REQUIRES: the feature was fetched with what the column needs.
    SqlValue ValueOf(std::uint64_t record, BFeature const& feature, int column);
    /// The records whose rectangles meet the area, in ascending order.
    std::vector<std::uint64_t> RecordsIn(BRect const& area);

    /// The index of the rows by a column, with the columns that the plan needs. The first call
    /// with a plan returns null: one scan costs less than building it.
    JoinIndex* IndexFor(std::string const& plan, int keyColumn, ColumnSet columns);

    /// Records that could not be read.
    std::uint64_t Problems() const noexcept { return problems; }

private:
    SqlValue FieldValue(BFeature const& feature, int column) const;
    SqlValue Bound(std::uint64_t record, HiddenColumn column);
    std::string Wkt(BFeature const& feature) const;

    Console& console;
    std::string fileName;
    std::string name;
    Source source;
    BFeatureCollection* features;
    std::uint64_t count;
    std::vector<std::string> fieldNames; ///< as columns of SQL
    std::vector<std::string> hiddenNames;
    bool hasMeasures;
    std::uint64_t problems = 0;
    std::map<std::string, std::unique_ptr<JoinIndex>> indexes; ///< by plan; null after one use
};

} // namespace Ambrel::Tool
