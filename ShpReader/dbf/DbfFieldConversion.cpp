#include "ShpReader/dbf/DbfFieldConversion.h"

#include "ShpReader/dbf/BDbfFile.h"
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

BVariant ConvertDate(std::string_view field, TextCache* cache) {
    std::string_view const text = GetTrimmedText(field);
    if (text.empty() || text == dbfNoDate) {
        return {};
    }
    static TextDecoder const plain(nullptr); // a date is bytes, whatever the table's encoding
    BVariant value(MakeText(text, plain, cache));
    value.SetType(VAR_DATE);
    return value;
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

BVariant ConvertField(std::string_view field, EVariantType type, TextDecoder const& decoder,
                      TextCache* cache) {
    switch (type) {
    // A number ends before the first NUL, as before any character that is not part of it.
    case VAR_INTEGER: return {ParseInteger(field)};
    case VAR_INTEGER64: return {ParseInteger64(field)};
    case VAR_DOUBLE: return {ParseDouble(field)};
    case VAR_BOOLEAN: return {field.find_first_of("TtYy1") != std::string_view::npos};
    case VAR_DATE: return ConvertDate(field, cache);
    default: return {MakeText(GetTrimmedText(field), decoder, cache)};
    }
}

void BDbfFile::DbfField2Attribute(std::string_view record, BAttributeDef const& definition,
                                  std::int32_t offset, BAttribute& attribute) {
    std::string_view const field = GetFieldBytes(record, offset, definition.width);
    attribute.SetName(definition.name);
    attribute.SetValue(ConvertField(field, definition.GetType(), TextDecoder(), nullptr));
}

} // namespace Ambrel
