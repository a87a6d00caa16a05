// A table of every type, read with all that makes reading fast, against the C library's conversions
// of the same bytes, one by one.

#include "DbfSupport.h"

#include <random>
#include <sstream>

namespace Ambrel::Test {
namespace {

constexpr Column columns[] = {
    {'N', 9, 0, VAR_INTEGER},   {'N', 40, 0, VAR_INTEGER64}, {'N', 19, 6, VAR_DOUBLE},
    {'F', 255, 11, VAR_DOUBLE}, {'F', 4, 1, VAR_DOUBLE},     {'L', 1, 0, VAR_BOOLEAN},
    {'D', 8, 0, VAR_DATE},      {'C', 12, 0, VAR_STRING},    {'C', 30, 0, VAR_STRING},
    {'C', 6, 0, VAR_STRING},
};

constexpr char nastyNumbers[] = R"--(
    - + . -. +-1 --1 ***** 4.7 1,5 00012 -0 -0.0 .5 5. -.5 2147483648 -2147483649 4294967297
    9223372036854775807 9223372036854775808 -9223372036854775809 -99999999999999999999999
    999999999999999999 1.5E3 1.5e+3 1.5e-3 1e 1e+ 1ee5 1e5e5 1d5 e5 .e5 1e5.5 1e308 1e309 -1e309
    1.7976931348623157e308 1.7976931348623159e308 2.2250738585072014e-308 2.225073858507201e-308
    4.9406564584124654e-324 2.4703282292062327e-324 2.4703282292062328e-324 1e-400 -1e-400
    0e999999999999 1e999999999999 1e-999999999999 0.0000000001e318 1000000e303 9007199254740993
    9007199254740992.5 0.1 0.30000000000000004 123456789012345678 12345678901234567.8
    1.00000000000000011102230246251565404236316680908203124 0.00000000000000000000001
    1.00000000000000011102230246251565404236316680908203125
    179769313486231580793728971405303415079934132710037826936173 INF -inf Infinity9 in nan NaN -nan
    nanx nan() nan( nan(123) nan(0x7ff) nan(017) nan(08) nan(0x) nan(1_) nan(12 +nan(5)x na
    nan(99999999999999999999999999) 0x 0x. 0xg -0x 0X1F 0x1.8 0x.8 0x1.8p1 0x1p 0x1p+ 0x1p-1074
    0x1p-1075 0x1.8p-1075 0x1.00000000000008p0 0x1.000000000000080001p0 0x1.00000000000018p0
    0x1.fffffffffffff8p1023 0x1.fffffffffffff7p1023 0x1p1024 0x1p99999999999 0x1p-99999999999
    0x0p99999999999 0x123456789abcdef0123456789 0x.000000000000000000000001p96
    0xFFFFFFFFFFFFFFFFp-1138 0x8000000000000400.8 0x3.p-1074 0x5p-1075 1x2 00x1 1p5)--";

/// Cells that are nasty numbers or pieces of two, or look like numbers, dates and words, now and
/// then with a NUL, blanks or noise in them; some come again and again, others never.
class Cells {
public:
    Cells() {
        std::string const zeros(240, '0');
        numbers = {"0." + zeros + "1e241", "1" + zeros + "e-240",        "0x" + zeros + "1.8p3",
                   std::string(255, '9'),  "0." + std::string(253, '9'), "\t\n\v\f\r 42"};
        std::istringstream words(nastyNumbers);
        for (std::string word; words >> word;) {
            numbers.push_back(word);
        }
    }

    std::string Next(std::size_t width) {
        std::string cell = Below(2) == 0 ? Number() : Noise(width);
        cell.resize(std::min(cell.size(), width));
        return cell.insert(Below(2) == 0 ? 0 : cell.size(), width - cell.size(), ' ');
    }

private:
    std::size_t Below(std::size_t limit) { return random() % limit; }

    std::string Number() {
        std::string const& first = numbers[Below(numbers.size())];
        std::string const& second = numbers[Below(numbers.size())];
        return Below(2) == 0
                   ? first
                   : first.substr(0, Below(first.size())) + second.substr(Below(second.size()));
    }

    std::string Noise(std::size_t width) {
        constexpr std::string_view alphabets[] = {"0123456789",   "0123456789+-.eE ",
                                                  "  TtYy1NnFf?", "abcdefghij ",
                                                  "0 ",           std::string_view("\0 19x", 5)};
        std::string_view const letters = alphabets[Below(std::size(alphabets))];
        std::string noise(Below(4) == 0 ? width : Below(width + 1), ' ');
        std::size_t const variety = Below(2) == 0 ? 2 : letters.size();
        for (char& c : noise) {
            c = letters[Below(variety)];
        }
        return noise;
    }

    Texts numbers;
    std::mt19937 random{19980701}; // NOLINT(cert-msc51-cpp): failures are to be repeatable
};

std::string Trim(std::string text) {
    text.erase(text.find_last_not_of(' ') + 1);
    text.erase(0, text.find_first_not_of(' '));
    return text.c_str();
}

BVariant ConvertPlainly(std::string const& cell, EVariantType type) {
    // NOLINTBEGIN(cert-err34-c): their results on any text are what is asked for
    switch (type) {
    case VAR_INTEGER: return std::atoi(cell.c_str());
    case VAR_INTEGER64: return std::int64_t{std::strtoll(cell.c_str(), nullptr, 10)};
    case VAR_DOUBLE: return std::strtod(cell.c_str(), nullptr);
    case VAR_BOOLEAN: return cell.find_first_of("TtYy1") != std::string::npos;
    default: break;
    }
    // NOLINTEND(cert-err34-c)
    std::string const text = Trim(cell);
    BVariant value(text.c_str());
    value.SetType(type);
    return type == VAR_DATE && (text.empty() || text == "00000000") ? BVariant() : value;
}

using PlainConversion = TableTest;

TEST_F(PlainConversion, CellsReadInAnyOrderAreWhatTheLibraryMakesOfThem) {
    constexpr std::uint32_t rowCount = 8000;
    TableBuilder builder;
    for (Column const& column : columns) {
        builder.Field("F", column.letter, column.width, column.decimals);
    }
    Cells cells;
    std::vector<Texts> expected(rowCount);
    for (std::uint32_t i = 0; i < rowCount; ++i) {
        ByteList row;
        row.Text(i % 2 == 0 ? " " : "*"); // deleted records are read like any other
        for (Column const& column : columns) {
            // No text of the last column comes twice.
            std::string const cell =
                column.width == 6 ? std::to_string(100000 + i) : cells.Next(column.width);
            row.Text(cell);
            expected[i].push_back(TextOf(ConvertPlainly(cell, column.type)));
        }
        builder.RawRow(row);
    }
    Open(builder);
    for (std::uint32_t row = 0; row < rowCount; ++row) {
        ASSERT_EQ(Read(row), expected[row]) << row;
        std::uint32_t const elsewhere = row * 1237 % rowCount;
        ASSERT_EQ(Read(elsewhere, false), expected[elsewhere]) << elsewhere;
    }
    // Into, beside and far from what was read ahead.
    for (std::uint32_t const row : {7999, 0, 1, 2, 3, 2, 4, 5, 6, 7, 100, 8, 9, 100, 7999}) {
        EXPECT_EQ(Read(row), expected[row]) << row;
    }
}

} // namespace
} // namespace Ambrel::Test
