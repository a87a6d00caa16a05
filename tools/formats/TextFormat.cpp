#include "formats/TextFormat.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>

namespace Ambrel::Tool {

namespace {

template <class T>
void AppendChars(std::string& text, T value) {
    std::array<char, 24> digits; // the longest integer has 20 characters
    auto const result = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    text.append(digits.data(), result.ptr);
}

/// What follows the backslash in the escape of a character; 0 where it needs none, 'u' where it is
/// written as its code.
constexpr std::array<char, 256> MakeEscapes() {
    std::array<char, 256> escapes{};
    for (std::size_t c = 0; c < 0x20; ++c) {
        escapes[c] = 'u';
    }
    escapes['\b'] = 'b';
    escapes['\f'] = 'f';
    escapes['\n'] = 'n';
    escapes['\r'] = 'r';
    escapes['\t'] = 't';
    escapes['"'] = '"';
    escapes['\\'] = '\\';
    return escapes;
}
constexpr auto escapes = MakeEscapes();

char EscapeOf(char c) {
    return escapes[static_cast<unsigned char>(c)];
}

void AppendEscape(std::string& text, char c) {
    constexpr char hexDigits[] = "0123456789abcdef";
    char const escape = EscapeOf(c);
    text += '\\';
    text += escape;
    if (escape == 'u') {
        auto const code = static_cast<unsigned char>(c);
        text += "00";
        text += hexDigits[code >> 4];
        text += hexDigits[code & 15];
    }
}

int Digits(std::string_view text) {
    int value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

} // namespace

void AppendNumber(std::string& text, double value) {
    // The shortest text of 500000 would be 5e+05: read back alike, and hard on people.
    double const size = std::abs(value);
    bool const isUsual = value == 0.0 || (size >= 1e-5 && size < 1e15);
    std::array<char, 32> digits; // the longest has 25 characters
    char* const end = digits.data() + digits.size();
    auto const result = isUsual ? std::to_chars(digits.data(), end, value, std::chars_format::fixed)
                                : std::to_chars(digits.data(), end, value);
    text.append(digits.data(), result.ptr);
}
void AppendRounded(std::string& text, double value, int decimals) {
    std::array<char, 400> digits; // 309 before the point, and as many behind it as are allowed
    char* const end = digits.data() + digits.size();
    auto const result =
        std::to_chars(digits.data(), end, value, std::chars_format::fixed, decimals);
    std::string_view number(digits.data(), static_cast<std::size_t>(result.ptr - digits.data()));
    if (number.find('.') != std::string_view::npos) {
        number.remove_suffix(number.size() - 1 - number.find_last_not_of('0'));
        number.remove_suffix(number.back() == '.' ? 1 : 0);
    }
    text += number == "-0" ? "0" : number;
}
void AppendNumber(std::string& text, std::int64_t value) {
    AppendChars(text, value);
}
void AppendNumber(std::string& text, std::uint64_t value) {
    AppendChars(text, value);
}

void AppendJsonString(std::string& text, std::string_view value) {
    text += '"';
    auto position = value.begin();
    while (position != value.end()) {
        auto const special =
            std::find_if(position, value.end(), [](char c) { return EscapeOf(c) != 0; });
        text.append(position, special);
        position = special;
        if (position != value.end()) {
            AppendEscape(text, *position++);
        }
    }
    text += '"';
}

void AppendCsvField(std::string& text, std::string_view value) {
    if (value.find_first_of(",\"\r\n") == std::string_view::npos) {
        text += value;
        return;
    }
    text += '"';
    for (char const c : value) {
        if (c == '"') {
            text += '"';
        }
        text += c;
    }
    text += '"';
}

std::string DateText(std::string_view value) {
    if (value.size() != 8 || !std::all_of(value.begin(), value.end(), IsDigit)) {
        return std::string(value);
    }
    std::string_view const year = value.substr(0, 4);
    std::string_view const month = value.substr(4, 2);
    std::string_view const day = value.substr(6, 2);
    std::chrono::year_month_day const date{std::chrono::year(Digits(year)),
                                           std::chrono::month(static_cast<unsigned>(Digits(month))),
                                           std::chrono::day(static_cast<unsigned>(Digits(day)))};
    if (!date.ok()) {
        return std::string(value);
    }
    return std::string(year) + "-" + std::string(month) + "-" + std::string(day);
}

} // namespace Ambrel::Tool
