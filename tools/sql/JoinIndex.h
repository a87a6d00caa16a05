#pragma once

#include "sql/Database.h"
#include "sql/LayerTable.h"

namespace Ambrel::Tool {

/// The rows of a layer that an equality join looks up again and again: copied once, the columns
/// that the query needs and no others, into a temporary table on disk with an index by the column
/// that is compared.
class JoinIndex final {
public:
    JoinIndex(LayerTable& table, int keyColumn, ColumnSet columns);

    /// A statement that gives the rows of one key, which is its parameter: the record, then the
    /// columns in their order.
    std::unique_ptr<Statement> MakeLookUp();
    /// Where the column stands in the rows of the statement. REQUIRES: it is one of the columns.
    int PlaceOf(int column) const noexcept { return places[static_cast<std::size_t>(column)]; }

private:
    void Fill(LayerTable& table, int keyColumn, ColumnSet columns);

    Database database;
    std::string list;        ///< of the columns' names in SQL, each after a comma
    std::vector<int> places; ///< of each column of the table; 0 for those that are not copied
    std::vector<int> copied;
};

} // namespace Ambrel::Tool
