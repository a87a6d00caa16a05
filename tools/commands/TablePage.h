#pragma once

#include "Ambrel/BAttribute.h"

#include <string>
#include <vector>

namespace Ambrel::Tool {

/// How rows are laid out as lines of text: a column for the record's index and one for each field,
/// numbers standing right. Measure the rows that decide about the widths, then ask for the lines.
///
/// On a terminal a line has room for no more than that is wide: text is cut, from the widest column
/// on, and columns that do not fit even so are left out, from the right. Elsewhere nothing is.
class TablePage final {
public:
    using Row = std::vector<std::string>;

    /// `newLineWidth` in columns of a terminal, 0 for any.
    TablePage(BAttributeDefs const& schema, std::size_t newLineWidth, bool newColors);

    /// What stands in the columns. A null is "∅", which an empty text is not.
    Row RowOf(std::uint64_t record, BAttributes const& attributes) const;
    void Measure(Row const& row);
    /// The names of the columns. Settles the widths.
    std::string Heading();
    std::string Line(Row const& row) const;
    /// What has to be said about columns that did not fit; empty where all did.
    std::string HiddenColumns() const;

private:
    struct Column {
        std::string name;
        std::size_t width;
        bool isNumber;
    };

    std::size_t Total() const;
    void Narrow();
    std::string Cell(std::size_t column, std::string const& text) const;

    std::vector<Column> columns;
    std::vector<std::string> hidden; ///< names
    std::size_t lineWidth;
    bool colors;
};

} // namespace Ambrel::Tool
