#include "sql/JoinIndex.h"

#include "terminal/Interrupt.h"

namespace Ambrel::Tool {

namespace {

constexpr int lastBit = 63; // stands for every column behind it too

bool IsAmong(ColumnSet columns, int column) {
    return (columns >> std::min(column, lastBit) & 1) != 0;
}

} // namespace

JoinIndex::JoinIndex(LayerTable& table, int keyColumn, ColumnSet columns) : database("") {
    int const count = table.FieldCount() + LayerTable::hiddenColumns;
    places.resize(static_cast<std::size_t>(count));
    for (int column = 0; column < count; ++column) {
        if (IsAmong(columns, column)) {
            copied.push_back(column);
            places[static_cast<std::size_t>(column)] = static_cast<int>(copied.size());
            list += ", c" + std::to_string(column);
        }
    }
    database.Execute("PRAGMA journal_mode=OFF;PRAGMA synchronous=OFF;BEGIN");
    // The key has the type of its column, so that SQLite compares it as it compares that.
    database.Execute(std::string("CREATE TABLE rows (key ") + table.TypeOf(keyColumn) + ", record" +
                     list + ")");
    Fill(table, keyColumn, columns);
    database.Execute("CREATE INDEX keys ON rows (key);COMMIT");
}

void JoinIndex::Fill(LayerTable& table, int keyColumn, ColumnSet columns) {
    std::string sql = "INSERT INTO rows VALUES (?, ?";
    for (std::size_t i = 0; i < copied.size(); ++i) {
        sql += ", ?";
    }
    Statement insertion(database, sql + ")");
    bool const isComplete = table.NeedsAttributes(columns) || keyColumn < table.FieldCount();
    std::vector<SqlValue> values(copied.size() + 1); // which the statement refers to
    for (std::uint64_t record = 0; record < table.Count(); ++record) {
        ThrowIfInterrupted();
        BSharedPtr<BFeature> const feature = table.Fetch(record, isComplete);
        if (!feature) {
            continue;
        }
        values[0] = table.ValueOf(record, *feature, keyColumn);
        BindValue(insertion, 1, values[0]);
        insertion.Bind(2, static_cast<std::int64_t>(record));
        for (std::size_t i = 0; i < copied.size(); ++i) {
            values[i + 1] = table.ValueOf(record, *feature, copied[i]);
            BindValue(insertion, static_cast<int>(i) + 3, values[i + 1]);
        }
        insertion.Run();
    }
}

std::unique_ptr<Statement> JoinIndex::MakeLookUp() {
    return std::make_unique<Statement>(database, "SELECT record" + list +
                                                     " FROM rows WHERE key = ? ORDER BY rowid");
}

} // namespace Ambrel::Tool
