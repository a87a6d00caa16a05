#include "commands/TablePage.h"

#include "formats/TextFormat.h"
#include "terminal/Console.h"
#include "terminal/TextWidth.h"

#include <algorithm>
#include <cmath>

namespace Ambrel::Tool {

namespace {

constexpr std::string_view gap = "  ";
constexpr std::size_t leastWidth = 8; ///< of a column that is cut
constexpr char const* nullText = "∅";

bool IsNumber(BAttributeDef const& field) {
    switch (field.GetType()) {
    case VAR_STRING:
    case VAR_DATE:
    case VAR_BOOLEAN: return false;
    default: return !field.isDate;
    }
}

std::string TextOf(BVariant const& value) {
    if (value.IsNull()) {
        return nullText;
    }
    std::string text;
    switch (value.GetType()) {
    case VAR_DOUBLE:
    case VAR_FLOAT: {
        double const number = value.GetValueAsDouble(0.0);
        std::isfinite(number) ? AppendNumber(text, number) : void(text = std::to_string(number));
        return text;
    }
    case VAR_BOOLEAN: return value.GetValueAsBoolean(false) ? "true" : "false";
    case VAR_DATE: return OneLine(DateText(value.GetValueAsString({}).Utf8()));
    default: return OneLine(value.GetValueAsString({}).Utf8());
    }
}

} // namespace

TablePage::TablePage(BAttributeDefs const& schema, std::size_t newLineWidth, bool newColors)
    : lineWidth(newLineWidth), colors(newColors) {
    columns.push_back({"record", 0, true});
    for (std::uint64_t i = 0; i < schema.GetCount(); ++i) {
        BAttributeDef const& field = schema.GetAt(i);
        columns.push_back({OneLine(field.name.Utf8()), 0, IsNumber(field)});
    }
    for (Column& column : columns) {
        column.width = WidthOf(column.name);
    }
}

TablePage::Row TablePage::RowOf(std::uint64_t record, BAttributes const& attributes) const {
    Row row = {std::to_string(record)};
    for (std::size_t i = 0; i + 1 < columns.size(); ++i) {
        row.push_back(i < attributes.GetCount() ? TextOf(attributes.GetAt(i).GetValue())
                                                : nullText);
    }
    return row;
}

void TablePage::Measure(Row const& row) {
    for (std::size_t i = 0; i < columns.size() && hidden.empty(); ++i) {
        columns[i].width = std::max(columns[i].width, WidthOf(row[i]));
    }
}

std::string TablePage::Heading() {
    Narrow();
    Row names;
    for (Column const& column : columns) {
        names.push_back(column.name);
    }
    std::string const line = Line(names);
    return colors ? "\033[1m" + line.substr(0, line.size() - 1) + "\033[0m\n" : line;
}

std::string TablePage::Line(Row const& row) const {
    std::string line;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        line += (i > 0 ? std::string(gap) : "") + Cell(i, row[i]);
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line + "\n";
}

std::string TablePage::Cell(std::size_t column, std::string const& text) const {
    // Half a number would be another one; nothing is lost where there is room.
    bool const isWhole = lineWidth == 0 || columns[column].isNumber;
    std::size_t const width = columns[column].width;
    return Fit(text, isWhole ? std::max(width, WidthOf(text)) : width, columns[column].isNumber);
}

std::size_t TablePage::Total() const {
    std::size_t total = (columns.size() - 1) * gap.size();
    for (Column const& column : columns) {
        total += column.width;
    }
    return total;
}

void TablePage::Narrow() {
    if (lineWidth == 0) {
        return;
    }
    while (Total() > lineWidth && columns.size() > 1) {
        auto const widest =
            std::max_element(columns.begin(), columns.end(), [](Column const& a, Column const& b) {
                return (a.isNumber ? 0 : a.width) < (b.isNumber ? 0 : b.width);
            });
        if (!widest->isNumber && widest->width > leastWidth) {
            --widest->width;
        } else {
            hidden.insert(hidden.begin(), columns.back().name);
            columns.pop_back();
        }
    }
}

std::string TablePage::HiddenColumns() const {
    if (hidden.empty()) {
        return {};
    }
    std::string names;
    for (std::string const& name : hidden) {
        names += (names.empty() ? "" : ", ") + name;
    }
    return std::to_string(hidden.size()) + (hidden.size() == 1 ? " field does" : " fields do") +
           " not fit the terminal: " + names;
}

} // namespace Ambrel::Tool
