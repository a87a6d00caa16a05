#include "text/Formatter.h"

#include "text/Unicode.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <string_view>

namespace Ambrel {

namespace {

enum class Length { None, Char, Short, Long, LongLong, Max, Size, Difference };

struct LengthName {
    std::string_view text;
    Length length;
};
/// Longer names first: "ll" is not "l".
constexpr std::array<LengthName, 8> lengthNames = {{{"I64", Length::LongLong},
                                                    {"hh", Length::Char},
                                                    {"ll", Length::LongLong},
                                                    {"h", Length::Short},
                                                    {"l", Length::Long},
                                                    {"j", Length::Max},
                                                    {"z", Length::Size},
                                                    {"t", Length::Difference}}};

/// One conversion: %[flags][width][.precision][length]letter.
struct Conversion {
    bool left = false;
    bool zero = false;
    bool plus = false;
    bool blank = false;
    bool alternative = false;
    int width = 0;
    int precision = -1; ///< none given: -1
    Length length = Length::None;
    char letter = '\0';
};

/// va_list in a class, so that it can be handed on by reference whatever type it is.
struct Arguments {
    std::va_list list;
};

int ParseNumber(char const*& at) {
    int number = 0;
    for (; *at >= '0' && *at <= '9'; ++at) {
        number = std::min(number * 10 + (*at - '0'), 100'000'000);
    }
    return number;
}

void ParseFlags(char const*& at, Conversion& conversion) {
    for (;; ++at) {
        switch (*at) {
        case '-': conversion.left = true; break;
        case '0': conversion.zero = true; break;
        case '+': conversion.plus = true; break;
        case ' ': conversion.blank = true; break;
        case '#': conversion.alternative = true; break;
        default: return;
        }
    }
}

Conversion Parse(char const*& at, Arguments& arguments) {
    Conversion conversion;
    ParseFlags(at, conversion);
    if (*at == '*') {
        ++at;
        conversion.width = va_arg(arguments.list, int);
        if (conversion.width < 0) {
            conversion.left = true;
            conversion.width = -conversion.width;
        }
    } else {
        conversion.width = ParseNumber(at);
    }
    if (*at == '.') {
        ++at;
        if (*at == '*') {
            ++at;
            conversion.precision = std::max(va_arg(arguments.list, int), -1);
        } else {
            conversion.precision = ParseNumber(at);
        }
    }
    for (auto const& [text, length] : lengthNames) {
        if (std::strncmp(at, text.data(), text.size()) == 0) {
            conversion.length = length;
            at += text.size();
            break;
        }
    }
    conversion.letter = *at;
    if (*at != '\0') {
        ++at;
    }
    return conversion;
}

/// Appends `prefix` (sign, 0x) and `body`, filled up to the conversion's width.
void Pad(std::string& text, Conversion const& conversion, std::string_view prefix,
         std::string_view body, bool zeros) {
    std::size_t const size = prefix.size() + body.size();
    auto const width = static_cast<std::size_t>(conversion.width);
    std::size_t const fill = width > size ? width - size : 0;
    if (!conversion.left && !zeros) {
        text.append(fill, ' ');
    }
    text += prefix;
    if (!conversion.left && zeros) {
        text.append(fill, '0');
    }
    text += body;
    if (conversion.left) {
        text.append(fill, ' ');
    }
}

std::int64_t TakeSigned(Length length, Arguments& arguments) {
    switch (length) {
    case Length::Char: return static_cast<signed char>(va_arg(arguments.list, int));
    case Length::Short: return static_cast<short>(va_arg(arguments.list, int));
    case Length::Long: return va_arg(arguments.list, long);
    case Length::LongLong: return va_arg(arguments.list, long long);
    case Length::Max: return va_arg(arguments.list, std::intmax_t);
    case Length::Size:
    case Length::Difference: return va_arg(arguments.list, std::ptrdiff_t);
    case Length::None: break;
    }
    return va_arg(arguments.list, int);
}

std::uint64_t TakeUnsigned(Length length, Arguments& arguments) {
    switch (length) {
    case Length::Char: return static_cast<unsigned char>(va_arg(arguments.list, unsigned));
    case Length::Short: return static_cast<unsigned short>(va_arg(arguments.list, unsigned));
    case Length::Long: return va_arg(arguments.list, unsigned long);
    case Length::LongLong: return va_arg(arguments.list, unsigned long long);
    case Length::Max: return va_arg(arguments.list, std::uintmax_t);
    case Length::Size:
    case Length::Difference: return va_arg(arguments.list, std::size_t);
    case Length::None: break;
    }
    return va_arg(arguments.list, unsigned);
}

std::string_view SignOf(Conversion const& conversion, bool negative) {
    return negative ? "-" : conversion.plus ? "+" : conversion.blank ? " " : "";
}

void AppendInteger(std::string& text, Conversion const& conversion, std::string_view prefix,
                   std::uint64_t magnitude, int base) {
    std::array<char, 64> digits;
    char* const end = std::to_chars(digits.begin(), digits.end(), magnitude, base).ptr;
    std::string body(digits.begin(), end);
    if (conversion.precision == 0 && magnitude == 0) {
        body.clear();
    }
    if (conversion.precision > static_cast<int>(body.size())) {
        body.insert(0, static_cast<std::size_t>(conversion.precision) - body.size(), '0');
    }
    if (base == 8 && conversion.alternative && (body.empty() || body[0] != '0')) {
        body.insert(0, 1, '0');
    }
    if (conversion.letter == 'X') {
        std::transform(body.begin(), body.end(), body.begin(),
                       [](char c) { return c >= 'a' && c <= 'f' ? static_cast<char>(c - 32) : c; });
    }
    Pad(text, conversion, prefix, body, conversion.zero && conversion.precision < 0);
}

void AppendSigned(std::string& text, Conversion const& conversion, Arguments& arguments) {
    std::int64_t const value = TakeSigned(conversion.length, arguments);
    auto const bits = static_cast<std::uint64_t>(value);
    AppendInteger(text, conversion, SignOf(conversion, value < 0), value < 0 ? 0 - bits : bits, 10);
}

void AppendUnsigned(std::string& text, Conversion const& conversion, Arguments& arguments) {
    std::uint64_t const value = TakeUnsigned(conversion.length, arguments);
    bool const hex = conversion.letter == 'x' || conversion.letter == 'X';
    std::string_view prefix;
    if (hex && conversion.alternative && value != 0) {
        prefix = conversion.letter == 'x' ? "0x" : "0X";
    }
    AppendInteger(text, conversion, prefix, value, hex ? 16 : conversion.letter == 'o' ? 8 : 10);
}

/// The digits of a finite, non-negative number as the conversion asks, without sign and padding.
std::string RealDigits(Conversion const& conversion, double magnitude) {
    bool const hex = (conversion.letter | 0x20) == 'a';
    std::chars_format format = std::chars_format::general;
    switch (conversion.letter | 0x20) {
    case 'f': format = std::chars_format::fixed; break;
    case 'e': format = std::chars_format::scientific; break;
    case 'a': format = std::chars_format::hex; break;
    default: break;
    }
    // DBL_MAX has 309 digits before the point.
    std::string digits(static_cast<std::size_t>(std::max(conversion.precision, 6)) + 350, '\0');
    char* const begin = digits.data();
    char* const end = begin + digits.size();
    std::to_chars_result const result =
        hex && conversion.precision < 0
            ? std::to_chars(begin, end, magnitude, format)
            : std::to_chars(begin, end, magnitude, format,
                            conversion.precision < 0 ? 6 : conversion.precision);
    digits.resize(static_cast<std::size_t>(result.ptr - begin));
    bool const isGeneral = (conversion.letter | 0x20) == 'g'; // for which '#' does nothing
    if (conversion.alternative && !isGeneral && digits.find('.') == std::string::npos) {
        digits.insert(std::min(digits.find_first_of("ep"), digits.size()), 1, '.');
    }
    return digits;
}

void AppendReal(std::string& text, Conversion const& conversion, double value) {
    std::string body;
    if (std::isfinite(value)) {
        body = RealDigits(conversion, std::fabs(value));
    } else {
        body = std::isnan(value) ? "nan" : "inf";
    }
    std::string prefix(SignOf(conversion, std::signbit(value)));
    if ((conversion.letter | 0x20) == 'a' && std::isfinite(value)) {
        prefix += "0x";
    }
    if (conversion.letter < 'a') {
        auto const upper = [](char c) {
            return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
        };
        std::transform(body.begin(), body.end(), body.begin(), upper);
        std::transform(prefix.begin(), prefix.end(), prefix.begin(), upper);
    }
    Pad(text, conversion, prefix, body, conversion.zero && std::isfinite(value));
}

void AppendText(std::string& text, Conversion const& conversion, Arguments& arguments) {
    std::size_t const most = conversion.precision < 0
                                 ? std::string::npos
                                 : static_cast<std::size_t>(conversion.precision);
    if (conversion.length == Length::Long) {
        wchar_t const* const wide = va_arg(arguments.list, wchar_t const*);
        std::wstring_view const all = wide ? std::wstring_view(wide) : std::wstring_view(L"(null)");
        std::string const utf8 = Unicode::FromWide(all);
        // The precision counts bytes; a character that does not fit whole is left out.
        std::size_t size = std::min(utf8.size(), most);
        while (size < utf8.size() && size > 0 &&
               (static_cast<unsigned char>(utf8[size]) & 0xC0U) == 0x80U) {
            --size;
        }
        Pad(text, conversion, "", std::string_view(utf8).substr(0, size), false);
        return;
    }
    char const* const narrow = va_arg(arguments.list, char const*);
    char const* const all = narrow ? narrow : "(null)";
    void const* const end = most == std::string::npos ? nullptr : std::memchr(all, '\0', most);
    std::size_t const size =
        most == std::string::npos
            ? std::strlen(all)
            : (end ? static_cast<std::size_t>(static_cast<char const*>(end) - all) : most);
    Pad(text, conversion, "", {all, size}, false);
}

void AppendCharacter(std::string& text, Conversion const& conversion, Arguments& arguments) {
    if (conversion.length == Length::Long) {
        auto const wide = static_cast<wchar_t>(va_arg(arguments.list, std::wint_t));
        Pad(text, conversion, "", Unicode::FromWide({&wide, 1}), false);
        return;
    }
    auto const narrow = static_cast<char>(va_arg(arguments.list, int));
    Pad(text, conversion, "", {&narrow, 1}, false);
}

/// False for a letter that is not understood.
bool Append(std::string& text, Conversion const& conversion, Arguments& arguments) {
    switch (conversion.letter) {
    case 'd':
    case 'i': AppendSigned(text, conversion, arguments); return true;
    case 'u':
    case 'o':
    case 'x':
    case 'X': AppendUnsigned(text, conversion, arguments); return true;
    case 'f':
    case 'F':
    case 'e':
    case 'E':
    case 'g':
    case 'G':
    case 'a':
    case 'A': AppendReal(text, conversion, va_arg(arguments.list, double)); return true;
    case 's': AppendText(text, conversion, arguments); return true;
    case 'c': AppendCharacter(text, conversion, arguments); return true;
    case 'p': {
        auto const address = reinterpret_cast<std::uintptr_t>(va_arg(arguments.list, void*));
        AppendInteger(text, conversion, "0x", address, 16);
        return true;
    }
    case '%': text += '%'; return true;
    default: return false;
    }
}

} // namespace

void FormatTo(std::string& text, char const* format, std::va_list list) {
    Arguments arguments;
    va_copy(arguments.list, list);
    try {
        while (*format != '\0') {
            std::size_t const plain = std::strcspn(format, "%");
            text.append(format, plain);
            format += plain;
            if (*format == '\0') {
                break;
            }
            char const* const start = format++;
            Conversion const conversion = Parse(format, arguments);
            if (!Append(text, conversion, arguments)) {
                text += start;
                break;
            }
        }
    } catch (...) {
        va_end(arguments.list);
        throw;
    }
    va_end(arguments.list);
}

} // namespace Ambrel
