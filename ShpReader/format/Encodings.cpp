#include "ShpReader/format/Encodings.h"

#include <algorithm>
#include <array>

namespace Ambrel {

namespace {

struct CodePage {
    int number;
    char const* codec;
};

/// Code pages whose codec is not called "windows-N" or "IBMN".
constexpr CodePage namedCodePages[] = {
    {874, "windows-874"},
    {932, "windows-31j"},
    {936, "GBK"},
    {949, "windows-949"},
    {950, "Big5"},
    {10000, "macintosh"},
    {10006, "x-mac-greek"},
    {10007, "x-mac-cyrillic"},
    {10029, "x-mac-centraleurroman"},
    {20127, "US-ASCII"},
    {20866, "KOI8-R"},
    {21866, "KOI8-U"},
    {54936, "GB18030"},
    {65001, "UTF-8"},
};

struct Language {
    std::uint8_t byte;
    std::string_view codePage;
};

/// The language drivers of dBASE IV and Visual FoxPro.
constexpr Language languages[] = {
    {0x01, "437"},   {0x02, "850"},  {0x03, "1252"}, {0x04, "10000"}, {0x08, "865"},
    {0x09, "437"},   {0x0A, "850"},  {0x0B, "437"},  {0x0D, "437"},   {0x0E, "850"},
    {0x0F, "437"},   {0x10, "850"},  {0x11, "437"},  {0x12, "850"},   {0x13, "932"},
    {0x14, "850"},   {0x15, "437"},  {0x16, "850"},  {0x17, "865"},   {0x18, "437"},
    {0x19, "437"},   {0x1A, "850"},  {0x1B, "437"},  {0x1C, "863"},   {0x1D, "850"},
    {0x1F, "852"},   {0x22, "852"},  {0x23, "852"},  {0x24, "860"},   {0x25, "850"},
    {0x26, "866"},   {0x37, "850"},  {0x40, "852"},  {0x4D, "936"},   {0x4E, "949"},
    {0x4F, "950"},   {0x50, "874"},  {0x58, "1252"}, {0x59, "1252"},  {0x64, "852"},
    {0x65, "866"},   {0x66, "865"},  {0x67, "861"},  {0x68, "895"},   {0x69, "620"},
    {0x6A, "737"},   {0x6B, "857"},  {0x6C, "863"},  {0x78, "950"},   {0x79, "949"},
    {0x7A, "936"},   {0x7B, "932"},  {0x7C, "874"},  {0x7D, "1255"},  {0x7E, "1256"},
    {0x86, "737"},   {0x87, "852"},  {0x88, "857"},  {0x96, "10007"}, {0x97, "10029"},
    {0x98, "10006"}, {0xC8, "1250"}, {0xC9, "1251"}, {0xCA, "1254"},  {0xCB, "1253"},
    {0xCC, "1257"},
};

/// What may stand before the number of a code page.
constexpr std::string_view numberPrefixes[] = {"",    "ANSI", "OEM", "CP",  "WINDOWS",
                                               "WIN", "IBM",  "MS",  "DOS", "CODEPAGE"};

/// What may stand before the part of ISO 8859: "88591", "ISO88591", "8859_15" …
constexpr std::string_view iso8859Prefixes[] = {"ISOIEC8859", "ISO8859", "8859"};
/// Part n has the code page 28590 + n.
constexpr int iso8859CodePages = 28590;
constexpr int iso8859Parts = 15;

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view ends("\r\n\"'\0", 5);
constexpr std::string_view blanks(" \t\r\n\"'\0", 7);

constexpr auto fixedBytes = [] {
    std::array<char, 125> bytes{};
    std::size_t count = 0;
    for (char c = 0; count < bytes.size(); ++c) {
        if (c != 0x1A && c != 0x1C && c != 0x7F) {
            bytes[count++] = c;
        }
    }
    return bytes;
}();

bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

/// Letters and digits alone, the letters in upper case, whatever the locale.
std::string MakeCanonical(std::string_view name) {
    std::string canonical;
    for (char const c : name) {
        bool const isLower = c >= 'a' && c <= 'z';
        if (IsDigit(c) || isLower || (c >= 'A' && c <= 'Z')) {
            canonical += static_cast<char>(isLower ? c - 'a' + 'A' : c);
        }
    }
    return canonical;
}

bool IsNumber(std::string_view text) noexcept {
    return !text.empty() && text.size() <= 6 && std::all_of(text.begin(), text.end(), IsDigit);
}

/// What follows the first of the prefixes that leaves a number; empty when none does.
template <class Prefixes>
std::string GetNumber(std::string_view canonical, Prefixes const& prefixes) {
    for (std::string_view const prefix : prefixes) {
        if (canonical.starts_with(prefix) && IsNumber(canonical.substr(prefix.size()))) {
            return std::string(canonical.substr(prefix.size()));
        }
    }
    return {};
}

std::vector<std::string> GetCodecNamesOfCodePage(std::string const& digits) {
    int const number = std::stoi(digits);
    auto const* const page =
        std::find_if(std::begin(namedCodePages), std::end(namedCodePages),
                     [=](CodePage const& each) { return each.number == number; });
    if (page != std::end(namedCodePages)) {
        return {page->codec};
    }
    if (number > iso8859CodePages && number <= iso8859CodePages + iso8859Parts) {
        return {"ISO-8859-" + std::to_string(number - iso8859CodePages)};
    }
    return {"windows-" + std::to_string(number), "IBM" + std::to_string(number)};
}

} // namespace

std::vector<std::string> GetCodecNames(std::string_view spelling) {
    std::string_view const name = TrimEncodingName(spelling);
    std::string const canonical = MakeCanonical(name);
    if (canonical.empty()) {
        return {};
    }
    if (canonical.starts_with("UTF8")) {
        return {"UTF-8"};
    }
    if (std::string const part = GetNumber(canonical, iso8859Prefixes); !part.empty()) {
        return {"ISO-8859-" + part};
    }
    if (std::string const page = GetNumber(canonical, numberPrefixes); !page.empty()) {
        return GetCodecNamesOfCodePage(page);
    }
    return {std::string(name)};
}

std::string_view TrimEncodingName(std::string_view text) noexcept {
    if (text.starts_with(byteOrderMark)) {
        text.remove_prefix(byteOrderMark.size());
    }
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    text = text.substr(0, text.find_first_of(ends));
    return text.substr(0, text.find_last_not_of(" \t") + 1);
}

std::string_view GetFixedBytes() noexcept {
    return {fixedBytes.data(), fixedBytes.size()};
}

std::string_view GetCodePage(std::uint8_t language) noexcept {
    auto const* const found =
        std::find_if(std::begin(languages), std::end(languages),
                     [=](Language const& each) { return each.byte == language; });
    return found == std::end(languages) ? std::string_view() : found->codePage;
}

} // namespace Ambrel
