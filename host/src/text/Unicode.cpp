#include "text/Unicode.h"

#include <array>
#include <cstring>

namespace Ambrel::Unicode {

namespace {

constexpr std::uint32_t replacement = 0xFFFD;
constexpr std::uint32_t firstAstral = 0x10000; ///< takes two UTF-16 code units
constexpr bool wideIsUtf16 = sizeof(wchar_t) == 2;

/// Code points of the bytes 0x80 to 0x9F. The five that the code page leaves undefined stand for
/// the control characters of the same value, as the WHATWG Encoding Standard has them.
constexpr std::array<std::uint16_t, 32> windows1252 = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

void AppendUtf8(std::string& text, std::uint32_t point) {
    auto const tail = [&](int shift) {
        return static_cast<char>(0x80U | ((point >> shift) & 0x3FU));
    };
    if (point < 0x80) {
        text += static_cast<char>(point);
    } else if (point < 0x800) {
        text += static_cast<char>(0xC0U | (point >> 6));
        text += tail(0);
    } else if (point < firstAstral) {
        text += static_cast<char>(0xE0U | (point >> 12));
        text += tail(6);
        text += tail(0);
    } else {
        text += static_cast<char>(0xF0U | (point >> 18));
        text += tail(12);
        text += tail(6);
        text += tail(0);
    }
}

/// The length of the run of ASCII bytes at the start.
std::size_t AsciiPrefix(std::string_view text) noexcept {
    constexpr std::uint64_t highBits = 0x8080808080808080U;
    std::size_t i = 0;
    for (std::uint64_t eight; i + sizeof eight <= text.size(); i += sizeof eight) {
        std::memcpy(&eight, text.data() + i, sizeof eight);
        if (eight & highBits) {
            break;
        }
    }
    while (i < text.size() && static_cast<unsigned char>(text[i]) < 0x80) {
        ++i;
    }
    return i;
}

/// The length of the well-formed sequence of two to four bytes at the start; 0 when there is none.
std::size_t SequenceSize(std::string_view text) noexcept {
    auto const byte = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    auto const isTail = [&](std::size_t i) { return (byte(i) & 0xC0U) == 0x80U; };
    unsigned const lead = byte(0);
    unsigned const second = byte(1);
    if (lead >= 0xC2 && lead <= 0xDF) {
        return isTail(1) ? 2 : 0;
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        bool const overlong = lead == 0xE0 && second < 0xA0;
        bool const surrogate = lead == 0xED && second > 0x9F;
        return isTail(1) && isTail(2) && !overlong && !surrogate ? 3 : 0;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        bool const overlong = lead == 0xF0 && second < 0x90;
        bool const beyond = lead == 0xF4 && second > 0x8F;
        return isTail(1) && isTail(2) && isTail(3) && !overlong && !beyond ? 4 : 0;
    }
    return 0;
}

/// Decodes the character at `position` of valid UTF-8 and moves the position behind it.
std::uint32_t NextPoint(std::string_view utf8, std::size_t& position) noexcept {
    auto const lead = static_cast<unsigned char>(utf8[position++]);
    if (lead < 0x80) {
        return lead;
    }
    int const tails = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    std::uint32_t point = lead & (0x3FU >> tails);
    for (int i = 0; i < tails; ++i) {
        point = (point << 6) | (static_cast<unsigned char>(utf8[position++]) & 0x3FU);
    }
    return point;
}

} // namespace

bool IsValidUtf8(std::string_view text) noexcept {
    for (;;) {
        text.remove_prefix(AsciiPrefix(text));
        if (text.empty()) {
            return true;
        }
        std::size_t const size = SequenceSize(text);
        if (size == 0) {
            return false;
        }
        text.remove_prefix(size);
    }
}

std::string_view WithoutCutCharacter(std::string_view text) noexcept {
    constexpr std::size_t mostTails = 3;
    std::size_t tails = 0;
    while (tails < std::min(text.size(), mostTails) &&
           (static_cast<unsigned char>(text[text.size() - 1 - tails]) & 0xC0) == 0x80) {
        ++tails;
    }
    if (tails == text.size()) {
        return text;
    }
    std::size_t const start = text.size() - 1 - tails;
    auto const lead = static_cast<unsigned char>(text[start]);
    std::size_t const wanted = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : 0;
    return wanted > tails ? text.substr(0, start) : text;
}

bool IsAscii(std::string_view text) noexcept {
    return AsciiPrefix(text) == text.size();
}

std::string FromWindows1252(std::string_view text) {
    std::string utf8;
    utf8.reserve(text.size() + text.size() / 2);
    for (char const c : text) {
        auto const byte = static_cast<unsigned char>(c);
        bool const special = byte >= 0x80 && byte < 0x80 + windows1252.size();
        AppendUtf8(utf8, special ? windows1252[byte - 0x80U] : byte);
    }
    return utf8;
}

std::string FromWide(std::wstring_view text) {
    std::string utf8;
    utf8.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto point = static_cast<std::uint32_t>(text[i]);
        bool const isHigh = point >= 0xD800 && point < 0xDC00;
        if (wideIsUtf16 && isHigh && i + 1 < text.size()) {
            auto const low = static_cast<std::uint32_t>(text[i + 1]);
            if (low >= 0xDC00 && low < 0xE000) {
                point = firstAstral + ((point - 0xD800) << 10) + (low - 0xDC00);
                ++i;
            }
        }
        bool const isSurrogate = point >= 0xD800 && point < 0xE000;
        AppendUtf8(utf8, isSurrogate || point > 0x10FFFF ? replacement : point);
    }
    return utf8;
}

std::unique_ptr<wchar_t[]> ToWide(std::string_view utf8) {
    // One wide character for each byte is always enough.
    auto wide = std::make_unique<wchar_t[]>(utf8.size() + 1);
    std::size_t size = 0;
    for (std::size_t position = 0; position < utf8.size();) {
        std::uint32_t const point = NextPoint(utf8, position);
        if (wideIsUtf16 && point >= firstAstral) {
            wide[size++] = static_cast<wchar_t>(0xD800 + ((point - firstAstral) >> 10));
            wide[size++] = static_cast<wchar_t>(0xDC00 + ((point - firstAstral) & 0x3FF));
        } else {
            wide[size++] = static_cast<wchar_t>(point);
        }
    }
    return wide;
}

std::size_t PrefixSize(std::string_view utf8, std::uint64_t count) noexcept {
    std::size_t position = 0;
    while (position < utf8.size()) {
        std::size_t next = position;
        std::uint32_t const point = NextPoint(utf8, next);
        std::uint64_t const units = wideIsUtf16 && point >= firstAstral ? 2 : 1;
        if (units > count) {
            break;
        }
        count -= units;
        position = next;
    }
    return position;
}

} // namespace Ambrel::Unicode
