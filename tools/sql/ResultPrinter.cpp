#include "sql/ResultPrinter.h"

#include "formats/OutputFile.h"
#include "formats/TextFormat.h"
#include "terminal/Console.h"
#include "terminal/TextWidth.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include <sqlite3.h>

namespace Ambrel::Tool {

namespace {

std::string_view TextAt(sqlite3_stmt* row, int column) {
    auto const* const text = reinterpret_cast<char const*>(sqlite3_column_text(row, column));
    return {text ? text : "", static_cast<std::size_t>(sqlite3_column_bytes(row, column))};
}

std::string HexAt(sqlite3_stmt* row, int column) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string hex;
    for (char const byte : TextAt(row, column)) {
        hex += digits[static_cast<unsigned char>(byte) >> 4];
        hex += digits[static_cast<unsigned char>(byte) & 15];
    }
    return hex;
}

/// The value as people and other programs read it; a null is empty. Numbers have as many digits as
/// it takes, where SQLite's own text of them has 15.
std::string ValueAt(sqlite3_stmt* row, int column) {
    std::string text;
    switch (sqlite3_column_type(row, column)) {
    case SQLITE_NULL: break;
    case SQLITE_INTEGER: AppendNumber(text, std::int64_t{sqlite3_column_int64(row, column)}); break;
    case SQLITE_FLOAT: {
        double const value = sqlite3_column_double(row, column);
        std::isfinite(value) ? AppendNumber(text, value) : void(text = TextAt(row, column));
        // As SQLite tells a real number from a whole one.
        text += text.find_first_not_of("-0123456789") == std::string::npos ? ".0" : "";
        break;
    }
    case SQLITE_BLOB: return HexAt(row, column);
    default: text = TextAt(row, column);
    }
    return text;
}

std::vector<std::string> NamesOf(sqlite3_stmt* statement) {
    std::vector<std::string> names(static_cast<std::size_t>(sqlite3_column_count(statement)));
    for (int column = 0; column < sqlite3_column_count(statement); ++column) {
        names[static_cast<std::size_t>(column)] = sqlite3_column_name(statement, column);
    }
    return names;
}

class CsvPrinter final : public ResultPrinter {
public:
    explicit CsvPrinter(OutputFile& target) : output(target) {}
    void Begin(sqlite3_stmt* statement) override { Record(NamesOf(statement)); }
    void Row(sqlite3_stmt* row) override {
        std::vector<std::string> values(static_cast<std::size_t>(sqlite3_column_count(row)));
        for (int column = 0; column < sqlite3_column_count(row); ++column) {
            values[static_cast<std::size_t>(column)] = ValueAt(row, column);
        }
        Record(values);
    }
    void End() override {}

private:
    void Record(std::vector<std::string> const& fields) {
        std::string& text = output.Buffer();
        char const* separator = "";
        for (std::string const& field : fields) {
            text += separator;
            separator = ",";
            AppendCsvField(text, field);
        }
        text += "\r\n";
        output.FlushIfFull();
    }

    OutputFile& output;
};

class JsonPrinter final : public ResultPrinter {
public:
    explicit JsonPrinter(OutputFile& target) : output(target) {}
    void Begin(sqlite3_stmt* statement) override {
        for (std::string const& name : NamesOf(statement)) {
            AppendJsonString(keys.emplace_back(), name);
            keys.back() += ':';
        }
        output.Buffer() += '[';
    }
    void Row(sqlite3_stmt* row) override {
        std::string& text = output.Buffer();
        text += isFirst ? "\n{" : ",\n{";
        isFirst = false;
        for (std::size_t column = 0; column < keys.size(); ++column) {
            text += column == 0 ? "" : ",";
            text += keys[column];
            Value(text, row, static_cast<int>(column));
        }
        text += '}';
        output.FlushIfFull();
    }
    void End() override { output.Append(isFirst ? "]\n" : "\n]\n"); }

private:
    static void Value(std::string& text, sqlite3_stmt* row, int column) {
        int const type = sqlite3_column_type(row, column);
        bool const isNumber =
            type == SQLITE_INTEGER ||
            (type == SQLITE_FLOAT && std::isfinite(sqlite3_column_double(row, column)));
        if (isNumber) {
            text += ValueAt(row, column);
        } else if (type == SQLITE_TEXT || type == SQLITE_BLOB) {
            AppendJsonString(text, ValueAt(row, column));
        } else {
            text += "null";
        }
    }

    OutputFile& output;
    std::vector<std::string> keys;
    bool isFirst = true;
};

/// Columns as wide as the first thousand rows need; what is wider in later ones shifts its row.
class TablePrinter final : public ResultPrinter {
public:
    explicit TablePrinter(OutputFile& target) : output(target) {}
    void Begin(sqlite3_stmt* statement) override {
        rows.push_back(NamesOf(statement));
        widths.resize(rows.front().size());
        areNumbers.assign(widths.size(), true);
    }
    void Row(sqlite3_stmt* row) override {
        std::vector<std::string>& values = rows.emplace_back();
        for (int column = 0; column < sqlite3_column_count(row); ++column) {
            int const type = sqlite3_column_type(row, column);
            bool const isNumber =
                type == SQLITE_INTEGER || type == SQLITE_FLOAT || type == SQLITE_NULL;
            auto const place = static_cast<std::size_t>(column);
            areNumbers[place] = areNumbers[place] && (isLaidOut || isNumber);
            values.push_back(OneLine(ValueAt(row, column)));
        }
        if (isLaidOut || rows.size() > measuredRows) {
            PrintRows();
        }
    }
    void End() override { PrintRows(); }

private:
    static constexpr std::size_t measuredRows = 1000;

    void PrintRows() {
        if (!isLaidOut) {
            for (auto const& row : rows) {
                for (std::size_t i = 0; i < row.size(); ++i) {
                    widths[i] = std::max(widths[i], WidthOf(row[i]));
                }
            }
            isLaidOut = true;
        }
        for (auto const& row : rows) {
            Line(row);
        }
        rows.clear();
    }

    void Line(std::vector<std::string> const& row) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            std::size_t const width = WidthOf(row[i]);
            std::string const blanks(widths[i] > width ? widths[i] - width : 0, ' ');
            line += i == 0 ? "" : "  ";
            line += areNumbers[i] ? blanks + row[i] : row[i] + blanks;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        output.Append(line + "\n");
    }

    OutputFile& output;
    std::vector<std::vector<std::string>> rows; ///< that are not printed yet, the names first
    std::vector<std::size_t> widths;            ///< in columns of a terminal
    std::vector<bool> areNumbers;               ///< columns that stand right
    bool isLaidOut = false;
};

} // namespace

std::unique_ptr<ResultPrinter> MakeResultPrinter(std::string_view form, OutputFile& output) {
    if (form == "json") {
        return std::make_unique<JsonPrinter>(output);
    }
    if (form == "table") {
        return std::make_unique<TablePrinter>(output);
    }
    return std::make_unique<CsvPrinter>(output);
}

} // namespace Ambrel::Tool
