#include "ShpReader/dbf/DbfNumberText.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

namespace Ambrel {

namespace {

bool IsDigit(char c) noexcept {
    return static_cast<unsigned char>(c - '0') < 10;
}
char ToLower(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}
bool IsLetter(char c) noexcept {
    return ToLower(c) >= 'a' && ToLower(c) <= 'z';
}

int HexDigit(char c) noexcept {
    char const lower = ToLower(c);
    if (IsDigit(lower)) {
        return lower - '0';
    }
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

bool IsWhiteSpace(char c) noexcept {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// What all numbers begin with.
struct SignedText {
    bool isNegative = false;
    std::string_view digits; ///< what follows white space and sign
};

SignedText SkipSign(std::string_view text) noexcept {
    std::size_t at = 0;
    while (at < text.size() && IsWhiteSpace(text[at])) {
        ++at;
    }
    if (at == text.size() || (text[at] != '-' && text[at] != '+')) {
        return {false, text.substr(at)};
    }
    return {text[at] == '-', text.substr(at + 1)};
}

bool StartsWith(std::string_view text, std::string_view lowerCase) noexcept {
    if (text.size() < lowerCase.size()) {
        return false;
    }
    for (std::size_t i = 0; i < lowerCase.size(); ++i) {
        if (ToLower(text[i]) != lowerCase[i]) {
            return false;
        }
    }
    return true;
}

/// The powers of ten that a double holds exactly.
constexpr double exactPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                       1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                       1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr std::uint64_t maxExactInteger = std::uint64_t{1} << 53;

/// A short number without an exponent. Both the digits and the power of ten are exact doubles then,
/// so that their one quotient is rounded as the exact value would be.
std::optional<double> ParsePlainDecimal(std::string_view digits) noexcept {
    std::uint64_t mantissa = 0;
    std::size_t at = 0;
    auto const takeDigits = [&] {
        while (at < digits.size() && IsDigit(digits[at]) && mantissa <= maxExactInteger) {
            mantissa = mantissa * 10 + static_cast<unsigned char>(digits[at] - '0');
            ++at;
        }
    };
    takeDigits();
    std::size_t digitCount = at;
    std::size_t fractionCount = 0;
    if (at < digits.size() && digits[at] == '.') {
        std::size_t const fractionStart = ++at;
        takeDigits();
        fractionCount = at - fractionStart;
        digitCount += fractionCount;
    }
    bool const goesOn = at < digits.size() && (IsDigit(digits[at]) || IsLetter(digits[at]));
    if (goesOn || digitCount == 0 || mantissa > maxExactInteger ||
        fractionCount >= std::size(exactPowersOfTen)) {
        return std::nullopt;
    }
    return static_cast<double>(mantissa) / exactPowersOfTen[fractionCount];
}

/// The payload that "nan(...)" asks for: a whole unsigned number, decimal, octal or hexadecimal.
std::uint64_t ParsePayload(std::string_view text) noexcept {
    int base = 10;
    if (StartsWith(text, "0x") && text.size() > 2) {
        base = 16;
        text.remove_prefix(2);
    } else if (text.starts_with('0')) {
        base = 8;
    }
    std::uint64_t payload = 0;
    auto const [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), payload, base);
    if (error == std::errc::invalid_argument || end != text.data() + text.size()) {
        return 0;
    }
    return error == std::errc() ? payload : std::numeric_limits<std::uint64_t>::max();
}

/// `text` follows the letters "nan".
double MakeNan(std::string_view text) noexcept {
    constexpr std::uint64_t quietNan = 0x7FF8000000000000U;
    constexpr std::uint64_t payloadMask = 0x0007FFFFFFFFFFFFU;
    if (!text.starts_with('(')) {
        return std::bit_cast<double>(quietNan);
    }
    std::size_t end = 1;
    while (end < text.size() && (IsDigit(text[end]) || IsLetter(text[end]) || text[end] == '_')) {
        ++end;
    }
    bool const isClosed = end < text.size() && text[end] == ')';
    std::uint64_t const payload = isClosed ? ParsePayload(text.substr(1, end - 1)) : 0;
    return std::bit_cast<double>(quietNan | (payload & payloadMask));
}

/// The exponent behind an "e" or a "p"; 0 where there is none. Saturates far outside what any text
/// of a field can bring back into a double's range.
std::int32_t ParseExponent(std::string_view text, char letter) noexcept {
    constexpr std::int32_t limit = 100000;
    if (text.empty() || ToLower(text[0]) != letter) {
        return 0;
    }
    text.remove_prefix(1);
    bool const isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    std::int32_t exponent = 0;
    for (std::size_t at = 0; at < text.size() && IsDigit(text[at]); ++at) {
        exponent = std::min(limit, exponent * 10 + (text[at] - '0'));
    }
    return isNegative ? -exponent : exponent;
}

/// mantissa * 2^exponent, rounded once to the nearest double, ties to even. `isInexact` says that
/// the true mantissa is a little larger.
double RoundBinary(std::uint64_t mantissa, bool isInexact, std::int32_t exponent) noexcept {
    constexpr std::int32_t minExponent = -1074; // of a double's last bit
    if (mantissa == 0) {
        return 0.0;
    }
    auto const length = static_cast<std::int32_t>(std::bit_width(mantissa));
    std::int32_t const excess = std::max(length - 53, minExponent - exponent);
    if (excess <= 0) {
        return std::ldexp(static_cast<double>(mantissa), exponent);
    }
    if (excess > 64) {
        return 0.0; // less than half of the smallest double
    }
    std::uint64_t const half = std::uint64_t{1} << (excess - 1);
    std::uint64_t const kept = excess == 64 ? 0 : mantissa >> excess;
    std::uint64_t const rest = excess == 64 ? mantissa : mantissa & ((half << 1) - 1);
    bool const roundsUp = rest > half || (rest == half && (isInexact || (kept & 1) != 0));
    return std::ldexp(static_cast<double>(kept + (roundsUp ? 1 : 0)), exponent + excess);
}

/// `text` follows the "0x"; without a digit there, the number is the 0 alone.
double ParseHexadecimal(std::string_view text) noexcept {
    std::uint64_t mantissa = 0;
    std::int32_t exponent = 0;
    bool isInexact = false;
    bool isFraction = false;
    bool hasDigit = false;
    std::size_t at = 0;
    for (; at < text.size(); ++at) {
        if (text[at] == '.' && !isFraction) {
            isFraction = true;
            continue;
        }
        int const digit = HexDigit(text[at]);
        if (digit < 0) {
            break;
        }
        hasDigit = true;
        if (mantissa >> 60 == 0) {
            mantissa = mantissa << 4 | static_cast<unsigned>(digit);
            exponent -= isFraction ? 4 : 0;
        } else {
            isInexact = isInexact || digit != 0;
            exponent += isFraction ? 0 : 4;
        }
    }
    return hasDigit
               ? RoundBinary(mantissa, isInexact, exponent + ParseExponent(text.substr(at), 'p'))
               : 0.0;
}

/// What a decimal number outside the range of doubles becomes: infinite or 0.
double SaturateDecimal(std::string_view text) noexcept {
    std::int32_t magnitude = 0; // the first digit that is not 0 stands for 10^(magnitude - 1)
    bool isFraction = false;
    bool isSignificant = false;
    std::size_t at = 0;
    for (; at < text.size() && (IsDigit(text[at]) || (text[at] == '.' && !isFraction)); ++at) {
        if (text[at] == '.') {
            isFraction = true;
            continue;
        }
        isSignificant = isSignificant || text[at] != '0';
        if (isFraction && !isSignificant) {
            --magnitude;
        } else if (!isFraction && isSignificant) {
            ++magnitude;
        }
    }
    bool const isLarge = isSignificant && magnitude + ParseExponent(text.substr(at), 'e') > 0;
    return isLarge ? std::numeric_limits<double>::infinity() : 0.0;
}

/// REQUIRES: the text starts with a digit, or with a point and a digit; the library's parser takes
/// signs and names too.
double ParseDecimal(std::string_view text) noexcept {
    double value = 0.0;
    auto const result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc::result_out_of_range ? SaturateDecimal(text) : value;
}

/// A number without its sign; none where the text is no number at all.
std::optional<double> ParseMagnitude(std::string_view text) noexcept {
    if (text.empty()) {
        return std::nullopt;
    }
    if (StartsWith(text, "inf")) {
        return std::numeric_limits<double>::infinity();
    }
    if (StartsWith(text, "nan")) {
        return MakeNan(text.substr(3));
    }
    if (StartsWith(text, "0x")) {
        return ParseHexadecimal(text.substr(2));
    }
    bool const startsNumber =
        IsDigit(text[0]) || (text.size() > 1 && text[0] == '.' && IsDigit(text[1]));
    return startsNumber ? std::optional(ParseDecimal(text)) : std::nullopt;
}

} // namespace

std::int64_t ParseInteger64(std::string_view text) noexcept {
    constexpr std::size_t safeDigits = 18; // that many cannot overflow
    constexpr auto max = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    SignedText const number = SkipSign(text);
    std::uint64_t const limit = max + (number.isNegative ? 1 : 0);
    std::string_view const digits = number.digits;
    std::uint64_t value = 0;
    std::size_t at = 0;
    for (; at < std::min(digits.size(), safeDigits) && IsDigit(digits[at]); ++at) {
        value = value * 10 + static_cast<unsigned char>(digits[at] - '0');
    }
    for (; at < digits.size() && IsDigit(digits[at]); ++at) {
        auto const digit = static_cast<unsigned char>(digits[at] - '0');
        value = value > (limit - digit) / 10 ? limit : value * 10 + digit;
    }
    return static_cast<std::int64_t>(number.isNegative ? 0 - value : value);
}

std::int32_t ParseInteger(std::string_view text) noexcept {
    return static_cast<std::int32_t>(ParseInteger64(text));
}

double ParseDouble(std::string_view text) noexcept {
    SignedText const number = SkipSign(text);
    std::optional<double> value = ParsePlainDecimal(number.digits);
    if (!value) {
        value = ParseMagnitude(number.digits);
    }
    if (!value) {
        return 0.0; // a sign alone does not make a negative zero
    }
    return number.isNegative ? -*value : *value;
}

} // namespace Ambrel
