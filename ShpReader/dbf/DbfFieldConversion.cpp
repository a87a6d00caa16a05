#include "ShpReader/dbf/DbfFieldConversion.h"

#include "ShpReader/dbf/DbfNumberText.h"

#include <algorithm>
#include <cstring>

namespace Ambrel {

namespace {

std::string_view CutAtNul(std::string_view text) noexcept {
    return text.substr(0, text.find('\0'));
}

template <class T>
std::uint64_t Load(char const* bytes) noexcept {
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

/// Of the length and of up to eight bytes at either end. REQUIRES: the text is not empty.
std::size_t HashOf(std::string_view text) noexcept {
    char const* const first = text.data();
    char const* const end = first + text.size();
    std::uint64_t head = 0;
    std::uint64_t tail = 0;
    if (text.size() >= sizeof(std::uint64_t)) {
        head = Load<std::uint64_t>(first);
        tail = Load<std::uint64_t>(end - sizeof(std::uint64_t));
    } else if (text.size() >= sizeof(std::uint32_t)) {
        head = Load<std::uint32_t>(first);
        tail = Load<std::uint32_t>(end - sizeof(std::uint32_t));
    } else {
        head = Load<std::uint8_t>(first) << 8 | Load<std::uint8_t>(first + text.size() / 2);
        tail = Load<std::uint8_t>(end - 1);
    }
    return ((head ^ (tail * 31) ^ text.size()) * 0x9E3779B97F4A7C15U) >> 32;
}

BString MakeText(std::string_view text, TextDecoder const& decoder, TextCache* cache) {
    return cache && !text.empty() ? cache->Share(text, decoder) : decoder.Decode(text);
}

bool HoldsNothing(std::string_view bytes) noexcept {
    return std::all_of(bytes.begin(), bytes.end(),
                       [](char c) { return c == dbfBlank || c == '\0'; });
}

} // namespace

BString TextCache::Share(std::string_view bytes, TextDecoder const& decoder) {
    if (textsSinceHit >= hopelessAfter && ++textsSinceHit % triedWhenHopeless != 0) {
        return decoder.Decode(bytes);
    }
    BString& held = texts[HashOf(bytes) % texts.size()];
    if (held.Utf8() == bytes) {
        textsSinceHit = 0;
        return held;
    }
    ++textsSinceHit;
    BString made = decoder.Decode(bytes);
    if (made.Utf8() == bytes) {
        held = made;
    }
    return made;
}

std::string_view GetFieldBytes(std::string_view record, std::int32_t offset,
                               std::int32_t width) noexcept {
    bool const isInside =
        offset >= 0 && width > 0 && static_cast<std::size_t>(offset) < record.size();
    return isInside
               ? record.substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(width))
               : std::string_view();
}

std::string_view GetTrimmedText(std::string_view field) noexcept {
    constexpr std::string_view blanks = "        ";
    while (field.ends_with(blanks)) {
        field.remove_suffix(blanks.size());
    }
    while (!field.empty() && field.back() == dbfBlank) {
        field.remove_suffix(1);
    }
    while (!field.empty() && field.front() == dbfBlank) {
        field.remove_prefix(1);
    }
    return CutAtNul(field);
}

// A number ends before the first NUL, as before any character that is not part of it.
BVariant ConvertInteger(FieldContent const& content) {
    return {ParseInteger(content.bytes)};
}

BVariant ConvertInteger64(FieldContent const& content) {
    return {ParseInteger64(content.bytes)};
}

BVariant ConvertDouble(FieldContent const& content) {
    return {ParseDouble(content.bytes)};
}

BVariant ConvertLogical(FieldContent const& content) {
    return {content.bytes.find_first_of("TtYy1") != std::string_view::npos};
}

BVariant ConvertDate(FieldContent const& content) {
    static TextDecoder const plain(nullptr); // a date is bytes, whatever the table's encoding
    std::string_view const text = GetTrimmedText(content.bytes);
    if (text.empty() || text == dbfNoDate) {
        return {};
    }
    BVariant value(MakeText(text, plain, content.cache));
    value.SetType(VAR_DATE);
    return value;
}

BVariant ConvertText(FieldContent const& content) {
    return {MakeText(GetTrimmedText(content.bytes), content.decoder, content.cache)};
}

BVariant MakeNoInteger() {
    return {0};
}

BVariant MakeNoInteger64() {
    return {std::int64_t{0}};
}

BVariant MakeNoDouble() {
    return {0.0};
}

BVariant MakeNoLogical() {
    return {false};
}

BVariant MakeNoDate() {
    BVariant value(BString::FromUtf8(dbfNoDate));
    value.SetType(VAR_DATE);
    return value;
}

BVariant MakeNoText() {
    return {BString()};
}

bool HoldsNoNumber(std::string_view bytes) noexcept {
    std::size_t const first = bytes.find_first_not_of(dbfBlank);
    return HoldsNothing(bytes) || bytes[first] == '*';
}

bool HoldsNoLogical(std::string_view bytes) noexcept {
    return HoldsNothing(bytes) || GetTrimmedText(bytes) == "?";
}

} // namespace Ambrel
