#include "text/Formatter.h"

#include "text/Unicode.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <new>
#include <string_view>

namespace Ambrel {

namespace {

/// Numbers are written as the "C" locale has them while it lives, on this thread.
class PlainLocale {
public:
    PlainLocale() : former(uselocale(Plain())) {}
    PlainLocale(PlainLocale const&) = delete;
    PlainLocale& operator=(PlainLocale const&) = delete;
    ~PlainLocale() { uselocale(former); }

private:
    static locale_t Plain() {
        static locale_t const plain = newlocale(LC_ALL_MASK, "C", nullptr);
        return plain;
    }

    locale_t former;
};

/// va_list in a class, so that it can be handed on by reference whatever type it is.
struct Arguments {
    std::va_list list;
};

/// One conversion: %[flags][width][.precision][length]letter.
struct Conversion {
    std::string start; ///< up to the precision, with the numbers that `*` stands for
    std::string_view length;
    char letter = '\0';
};

/// A number, which may be a `*`, as text; empty when there is none.
std::string TakeNumber(char const*& at, Arguments& arguments) {
    if (*at == '*') {
        ++at;
        return std::to_string(va_arg(arguments.list, int));
    }
    char const* const start = at;
    at += std::strspn(at, "0123456789");
    return {start, at};
}

Conversion Parse(char const*& at, Arguments& arguments) {
    // Longer names first: "ll" is not "l".
    constexpr std::array<std::string_view, 8> lengths = {"I64", "hh", "ll", "h",
                                                         "l",   "j",  "z",  "t"};
    Conversion conversion;
    std::size_t const flags = std::strspn(at, "-0+ #");
    conversion.start = "%" + std::string(at, flags);
    at += flags;
    conversion.start += TakeNumber(at, arguments);
    if (*at == '.') {
        std::string const precision = TakeNumber(++at, arguments);
        if (precision[0] != '-') { // which is none
            conversion.start += "." + precision;
        }
    }
    for (std::string_view const length : lengths) {
        if (std::strncmp(at, length.data(), length.size()) == 0) {
            conversion.length = length;
            at += length.size();
            break;
        }
    }
    conversion.letter = *at;
    if (*at != '\0') {
        ++at;
    }
    return conversion;
}

/// Appends what the C library makes of one value.
template <class T>
void Print(std::string& text, Conversion const& conversion, std::string_view length, T value) {
    std::string const format = conversion.start + std::string(length) + conversion.letter;
    std::array<char, 128> shortText;
    int const size = std::snprintf(shortText.data(), shortText.size(), format.c_str(), value);
    if (size < 0) {
        return; // wider than any text
    }
    auto const count = static_cast<std::size_t>(size);
    if (count < shortText.size()) {
        text.append(shortText.data(), count);
        return;
    }
    std::size_t const former = text.size();
    text.resize(former + count);
    // The NUL goes where the string has its own.
    std::snprintf(text.data() + former, count + 1, format.c_str(), value);
}

void AppendInteger(std::string& text, Conversion const& conversion, Arguments& arguments) {
    std::string_view const length = conversion.length;
    if (length == "l") {
        Print(text, conversion, "l", va_arg(arguments.list, long));
    } else if (length == "ll" || length == "I64" || length == "j") {
        Print(text, conversion, "ll", va_arg(arguments.list, long long));
    } else if (length == "z" || length == "t") {
        Print(text, conversion, length, va_arg(arguments.list, std::ptrdiff_t));
    } else {
        Print(text, conversion, length, va_arg(arguments.list, int));
    }
}

/// The C library refuses what is not valid, and depends on the locale. The precision counts bytes;
/// a character that does not fit whole is left out.
void AppendWide(std::string& text, Conversion conversion, std::wstring_view wide) {
    std::string utf8 = Unicode::FromWide(wide);
    std::size_t const dot = conversion.start.find('.');
    if (dot != std::string::npos) {
        std::size_t size = 0;
        for (char const digit : std::string_view(conversion.start).substr(dot + 1)) {
            size = std::min(size * 10 + static_cast<std::size_t>(digit - '0'), utf8.size());
        }
        utf8.resize(Unicode::WithoutCutCharacter(std::string_view(utf8).substr(0, size)).size());
        conversion.start.resize(dot);
    }
    conversion.letter = 's';
    Print(text, conversion, "", utf8.c_str());
}

void AppendText(std::string& text, Conversion const& conversion, Arguments& arguments) {
    if (conversion.length != "l") {
        Print(text, conversion, "", va_arg(arguments.list, char const*));
        return;
    }
    wchar_t const* const wide = va_arg(arguments.list, wchar_t const*);
    AppendWide(text, conversion, wide ? wide : L"(null)");
}

void AppendCharacter(std::string& text, Conversion const& conversion, Arguments& arguments) {
    if (conversion.length != "l") {
        Print(text, conversion, "", va_arg(arguments.list, int));
        return;
    }
    auto const wide = static_cast<wchar_t>(va_arg(arguments.list, std::wint_t));
    AppendWide(text, conversion, {&wide, 1});
}

/// False for a letter that is not understood.
bool Append(std::string& text, Conversion const& conversion, Arguments& arguments) {
    auto const isOneOf = [&](char const* letters) {
        return conversion.letter != '\0' && std::strchr(letters, conversion.letter) != nullptr;
    };
    if (isOneOf("diuoxX")) {
        AppendInteger(text, conversion, arguments);
    } else if (isOneOf("fFeEgGaA")) {
        Print(text, conversion, "", va_arg(arguments.list, double));
    } else if (isOneOf("s")) {
        AppendText(text, conversion, arguments);
    } else if (isOneOf("c")) {
        AppendCharacter(text, conversion, arguments);
    } else if (isOneOf("p")) {
        Print(text, conversion, "", va_arg(arguments.list, void*));
    } else if (isOneOf("%")) {
        text += '%';
    } else {
        return false;
    }
    return true;
}

} // namespace

void FormatTo(std::string& text, char const* format, std::va_list list) {
    PlainLocale const plain;
    Arguments arguments;
    va_copy(arguments.list, list);
    try {
        while (*format != '\0') {
            std::size_t const literal = std::strcspn(format, "%");
            text.append(format, literal);
            format += literal;
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
