#include "TextFormat.h"

#include <gtest/gtest.h>

namespace Ambrel::Test {
namespace {

using namespace Ambrel::Tool;

struct TextCase {
    std::string_view value;
    std::string_view expected;
};

TEST(TextFormat, EscapesWhatJsonCanNotHoldInAString) {
    TextCase const cases[] = {
        {"", R"("")"},
        {"Zürich", R"("Zürich")"},
        {R"(a "b" \ c)", R"("a \"b\" \\ c")"},
        {"\n\r\t\b\f", R"("\n\r\t\b\f")"},
        {std::string_view("\x01 \x1F \0", 5), R"("\u0001 \u001f \u0000")"},
    };
    for (TextCase const& c : cases) {
        std::string text;
        AppendJsonString(text, c.value);
        EXPECT_EQ(text, c.expected);
    }
}

TEST(TextFormat, QuotesCsvFieldsThatNeedIt) {
    TextCase const cases[] = {
        {"plain text", "plain text"},     {"a,b", R"("a,b")"},
        {R"(5" pipe)", R"("5"" pipe")"},  {"two\nlines", "\"two\nlines\""},
        {"carriage\r", "\"carriage\r\""},
    };
    for (TextCase const& c : cases) {
        std::string text;
        AppendCsvField(text, c.value);
        EXPECT_EQ(text, c.expected);
    }
}

TEST(TextFormat, WritesOnlyTrueDatesWithHyphens) {
    TextCase const cases[] = {
        {"20210315", "2021-03-15"}, {"20240229", "2024-02-29"},
        {"20230229", "20230229"},   {"20211301", "20211301"},
        {"20210400", "20210400"},   {"2021031", "2021031"},
        {"2021 315", "2021 315"},   {"", ""},
    };
    for (TextCase const& c : cases) {
        EXPECT_EQ(DateText(c.value), c.expected);
    }
}

TEST(TextFormat, WritesTheShortestTextOfADouble) {
    struct {
        double value;
        char const* expected;
    } const cases[] = {{0.1, "0.1"},      {-0.0, "-0"},
                       {1e300, "1e+300"}, {500000.0, "500000"},
                       {1e-5, "0.00001"}, {1e15, "1e+15"},
                       {9e-6, "9e-06"},   {2.2250738585072014e-308, "2.2250738585072014e-308"}};
    for (auto const& c : cases) {
        std::string text;
        AppendNumber(text, c.value);
        EXPECT_EQ(text, c.expected);
    }
}

} // namespace
} // namespace Ambrel::Test
