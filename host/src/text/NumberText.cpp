#include "text/NumberText.h"

#include <array>
#include <charconv>
#include <cmath>

namespace Ambrel::NumberText {

namespace {

std::string_view Trim(std::string_view text) noexcept {
    constexpr std::string_view white = " \t\n\v\f\r";
    std::size_t const first = text.find_first_not_of(white);
    if (first == std::string_view::npos) {
        return {};
    }
    text = text.substr(first, text.find_last_not_of(white) - first + 1);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') {
        text.remove_prefix(1);
    }
    return text;
}

template <class T>
std::optional<T> Parse(std::string_view text) noexcept {
    text = Trim(text);
    T value{};
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

template <class T, class... Format>
BString Print(T value, Format... format) {
    std::array<char, 32> text;
    char* const end = std::to_chars(text.begin(), text.end(), value, format...).ptr;
    return BString::FromUtf8({text.data(), static_cast<std::size_t>(end - text.data())});
}

/// Without an exponent as far as people write numbers out: 100000, not 1e+05.
template <class T>
BString PrintReal(T value) {
    T const magnitude = std::abs(value);
    bool const isCommon = magnitude == 0 || (magnitude >= T(1e-5) && magnitude < T(1e15));
    return isCommon ? Print(value, std::chars_format::fixed) : Print(value);
}

} // namespace

std::optional<double> ToReal(std::string_view text) noexcept {
    // The names of infinity and NaN are text, and no numbers.
    std::optional<double> const value = Parse<double>(text);
    return value && std::isfinite(*value) ? value : std::nullopt;
}
std::optional<std::int64_t> ToSigned(std::string_view text) noexcept {
    return Parse<std::int64_t>(text);
}
std::optional<std::uint64_t> ToUnsigned(std::string_view text) noexcept {
    return Parse<std::uint64_t>(text);
}
BString FromSigned(std::int64_t value) {
    return Print(value);
}
BString FromUnsigned(std::uint64_t value) {
    return Print(value);
}
BString FromReal(double value) {
    return PrintReal(value);
}
BString FromReal(float value) {
    return PrintReal(value);
}

} // namespace Ambrel::NumberText
