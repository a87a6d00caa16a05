#include "ShpReader/dbf/DbfNumberText.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdlib>
#include <random>
#include <sstream>
#include <string>

namespace Ambrel {
namespace {

/// Holds all three conversions against the C library's, which runs in the "C" locale here.
void ExpectAsLibrary(std::string const& text) {
    SCOPED_TRACE("text <" + text + ">");
    // NOLINTBEGIN(cert-err34-c): their results on any text are what is asked for
    EXPECT_EQ(ParseInteger(text), std::atoi(text.c_str()));
    EXPECT_EQ(ParseInteger64(text), std::strtoll(text.c_str(), nullptr, 10));
    double const expected = std::strtod(text.c_str(), nullptr);
    // NOLINTEND(cert-err34-c)
    double const value = ParseDouble(text);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(expected))
        << value << " instead of " << expected;
}

TEST(NumberText, NastyTextGivesWhatTheLibraryGives) {
    std::istringstream texts(R"--(
        - + . -. +-1 --1 ***** abc 42 +42 4.7 -4.7 1,5 00012 -0 -0.0 .5 5. -.5 2147483647
        2147483648 -2147483648 -2147483649 4294967295 4294967297 9223372036854775807
        9223372036854775808 -9223372036854775808 -9223372036854775809 99999999999999999999999
        -99999999999999999999999 999999999999999999 1.5E3 1.5e+3 1.5e-3 1e 1e+ 1e- 1ee5 1e5e5 1d5
        e5 .e5 1e5.5 1e308 1e309 -1e309 1.7976931348623157e308 1.7976931348623158e308
        1.7976931348623159e308 2.2250738585072014e-308 2.2250738585072011e-308
        2.225073858507201e-308 4.9406564584124654e-324 2.4703282292062327e-324
        2.4703282292062328e-324 5e-324 1e-324 1e-400 -1e-400 0e999999999999 1e999999999999
        1e-999999999999 0.0000000001e318 1000000e303 9007199254740992 9007199254740993
        9007199254740993.0 9007199254740992.5 0.1 0.30000000000000004 123456789012345678
        12345678901234567.8 1.00000000000000011102230246251565404236316680908203125
        1.00000000000000011102230246251565404236316680908203124
        1.00000000000000011102230246251565404236316680908203126 0.00000000000000000000001
        0.0000000000000000000001 179769313486231580793728971405303415079934132710037826936173 inf
        INF -inf infinity Infinity9 infi in i nan NaN -nan nanx nan() nan( nan(123) nan(0x7ff)
        nan(017) nan(08) nan(0x) nan(x) nan(1_) nan(99999999999999999999999999) nan(12 +nan(5)x na
        0x 0x. 0xg -0x 0x1 0X1F 0x1.8 0x.8 0x1.8p1 0x1p 0x1p+ 0x1p- 0x1p-1074 0x1p-1075
        0x1.8p-1075 0x1.00000000000008p0 0x1.000000000000080001p0 0x1.00000000000018p0
        0x1.fffffffffffff8p1023 0x1.fffffffffffff7p1023 0x1p1024 0x1p99999999999 0x1p-99999999999
        0x0p99999999999 0x123456789abcdef0123456789 0x.000000000000000000000001p96
        0x8000000000000400.8 0x3.p-1074 0x5p-1075 1x2 00x1 1p5)--");
    std::string word;
    while (texts >> word) {
        ExpectAsLibrary(word);
    }
    for (std::string const text : {"", " ", "- 1", "  42  ", "\t\n\v\f\r 42", "\b42", "1 2"}) {
        ExpectAsLibrary(text);
    }
    ExpectAsLibrary("0." + std::string(250, '0') + "1e251");
    ExpectAsLibrary("1" + std::string(250, '0') + "e-250");
    ExpectAsLibrary("0x" + std::string(240, '0') + "1.8p3");
    ExpectAsLibrary(std::string(255, '9'));
    ExpectAsLibrary("0." + std::string(253, '9'));
}

TEST(NumberText, RandomTextGivesWhatTheLibraryGives) {
    std::mt19937 random(20210315); // NOLINT(cert-msc51-cpp): failures are to be repeatable
    auto const below = [&](std::size_t limit) { return random() % limit; };
    auto const append = [&](std::string& text, std::string_view letters, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            text += letters[below(letters.size())];
        }
    };
    for (int round = 0; round < 200000 && !testing::Test::HasFailure(); ++round) {
        std::string decimal(below(3), ' ');
        append(decimal, "+-", below(2));
        append(decimal, "0123456789", below(20));
        append(decimal, ".", below(2));
        append(decimal, "0123456789", below(24));
        append(decimal, "eE", below(2));
        append(decimal, "+-", below(2));
        append(decimal, "0123456789", below(4));
        ExpectAsLibrary(decimal);
        std::string hexadecimal = "0x";
        append(hexadecimal, "0123456789abcdefABCDEF", below(18));
        append(hexadecimal, ".", below(2));
        append(hexadecimal, "08f", below(18));
        append(hexadecimal, "pP", below(2));
        append(hexadecimal, "+-", below(2));
        append(hexadecimal, "0123456789", below(5));
        ExpectAsLibrary(hexadecimal);
        std::string junk;
        append(junk, " \t+-.0123456789eExXpPnaiftINFTY()", below(12));
        ExpectAsLibrary(junk);
    }
}

} // namespace
} // namespace Ambrel
