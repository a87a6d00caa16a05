// A table of every type, read with all that makes reading fast, against the C library's conversions
// of the same bytes, one by one.

#include "ShpReader/dbf/BDbfFile.h"
#include "TableBuilder.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdlib>
#include <random>

namespace Ambrel::Test {
namespace {

struct Column {
    char letter;
    std::uint8_t width;
    std::uint8_t decimals;
    EVariantType type;
};
constexpr Column columns[] = {
    {'N', 9, 0, VAR_INTEGER},  {'N', 18, 0, VAR_INTEGER64}, {'N', 19, 6, VAR_DOUBLE},
    {'F', 24, 11, VAR_DOUBLE}, {'F', 4, 1, VAR_DOUBLE},     {'L', 1, 0, VAR_BOOLEAN},
    {'D', 8, 0, VAR_DATE},     {'C', 12, 0, VAR_STRING},    {'C', 30, 0, VAR_STRING},
};

/// Cells that look like numbers, dates and words, now and then with a NUL, blanks or noise in them;
/// some come again and again, others never.
class Cells {
public:
    std::string Next(std::size_t width) {
        constexpr std::string_view alphabets[] = {"0123456789",   "0123456789+-.eE ",
                                                  "  TtYy1NnFf?", "abcdefghij ",
                                                  "0 ",           std::string_view("\0 19x", 5)};
        std::string_view const letters = alphabets[Below(std::size(alphabets))];
        std::string cell(Below(4) == 0 ? width : Below(width + 1), ' ');
        std::size_t const variety = Below(2) == 0 ? 2 : letters.size();
        for (char& c : cell) {
            c = letters[Below(variety)];
        }
        return Below(2) == 0 ? std::string(width - cell.size(), ' ') + cell
                             : cell + std::string(width - cell.size(), ' ');
    }

private:
    std::size_t Below(std::size_t limit) { return random() % limit; }
    std::mt19937 random{19980701}; // NOLINT(cert-msc51-cpp): failures are to be repeatable
};

std::string Trim(std::string text) {
    text.erase(text.find_last_not_of(' ') + 1);
    text.erase(0, text.find_first_not_of(' '));
    return text.c_str();
}

/// The cell as text that tells values apart to the last bit, by way of the C library.
std::string ConvertPlainly(std::string const& cell, EVariantType type) {
    // NOLINTBEGIN(cert-err34-c): their results on any text are what is asked for
    switch (type) {
    case VAR_INTEGER: return std::to_string(std::atoi(cell.c_str()));
    case VAR_INTEGER64: return std::to_string(std::strtoll(cell.c_str(), nullptr, 10));
    case VAR_DOUBLE:
        return std::to_string(std::bit_cast<std::uint64_t>(std::strtod(cell.c_str(), nullptr)));
    case VAR_BOOLEAN: return cell.find_first_of("TtYy1") == std::string::npos ? "false" : "true";
    case VAR_DATE: return Trim(cell).empty() || Trim(cell) == "00000000" ? "null" : Trim(cell);
    default: return Trim(cell);
    }
    // NOLINTEND(cert-err34-c)
}

std::string Describe(BVariant const& value) {
    if (value.IsNull()) {
        return "null";
    }
    if (value.GetType() == VAR_DOUBLE) {
        return std::to_string(std::bit_cast<std::uint64_t>(value.GetValueAsDouble()));
    }
    return value.GetValueAsString("no text").Ascii();
}

TEST(PlainConversion, EveryCellIsWhatTheLibraryMakesOfIt) {
    constexpr std::uint32_t rowCount = 4000;
    TableBuilder builder;
    for (Column const& column : columns) {
        builder.Field("f" + std::to_string(builder.FieldCount()), column.letter, column.width,
                      column.decimals);
    }
    Cells cells;
    std::vector<std::vector<std::string>> rows(rowCount);
    for (std::vector<std::string>& row : rows) {
        Bytes bytes{' '};
        for (Column const& column : columns) {
            row.push_back(cells.Next(column.width));
            bytes.insert(bytes.end(), row.back().begin(), row.back().end());
        }
        builder.RawRow(bytes);
    }
    TemporaryFolder const folder;
    builder.WriteTo(folder.Path() / "t.dbf");
    BDbfFile table;
    table.Open(folder.File("t.dbf"), BDbfFile::readMode, true);
    for (bool const isSequential : {true, false}) {
        for (std::uint32_t i = 0; i < rowCount; ++i) {
            BAttributes values;
            std::uint32_t const row = isSequential ? i : i * 1237 % rowCount;
            table.ReadAttributeRecord(row, values, isSequential);
            ASSERT_EQ(values.GetCount(), std::size(columns));
            for (std::size_t field = 0; field < std::size(columns); ++field) {
                std::string const& cell = rows[row][field];
                ASSERT_EQ(Describe(values.GetAt(field).GetValue()),
                          ConvertPlainly(cell, columns[field].type))
                    << "row " << row << ", field " << field << ", cell <" << cell << ">";
            }
        }
    }
}

} // namespace
} // namespace Ambrel::Test
