#include "ShpReader/dbf/DbfFieldConversion.h"

#include "ShpReader/dbf/BDbfFile.h"
#include "ShpReader/dbf/DbfNumberText.h"

#include <algorithm>

namespace Ambrel {

namespace {

std::string_view CutAtNul(std::string_view text) noexcept {
    return text.substr(0, text.find('\0'));
}

bool IsAscii(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

BString MakeText(std::string_view text, BString* lastText) {
    if (!lastText) {
        return {text.data(), text.size()};
    }
    // What other bytes mean depends on the codec, which may have been another one.
    if (lastText->Utf8() != text || !IsAscii(text)) {
        *lastText = BString(text.data(), text.size());
    }
    return *lastText;
}

BVariant ConvertDate(std::string_view field, BString* lastText) {
    std::string_view const text = GetTrimmedText(field);
    if (text.empty() || text == dbfNoDate) {
        return {};
    }
    BVariant value(MakeText(text, lastText));
    value.SetType(VAR_DATE);
    return value;
}

} // namespace

std::string_view GetFieldBytes(std::string_view record, std::int32_t offset,
                               std::int32_t width) noexcept {
    bool const isInside =
        offset >= 0 && width > 0 && static_cast<std::size_t>(offset) < record.size();
    return isInside
               ? record.substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(width))
               : std::string_view();
}

std::string_view GetTrimmedText(std::string_view field) noexcept {
    while (!field.empty() && field.back() == dbfBlank) {
        field.remove_suffix(1);
    }
    while (!field.empty() && field.front() == dbfBlank) {
        field.remove_prefix(1);
    }
    return CutAtNul(field);
}

BVariant ConvertField(std::string_view field, EVariantType type, BString* lastText) {
    switch (type) {
    case VAR_INTEGER: return {ParseInteger(CutAtNul(field))};
    case VAR_INTEGER64: return {ParseInteger64(CutAtNul(field))};
    case VAR_DOUBLE: return {ParseDouble(CutAtNul(field))};
    case VAR_BOOLEAN: return {field.find_first_of("TtYy1") != std::string_view::npos};
    case VAR_DATE: return ConvertDate(field, lastText);
    default: return {MakeText(GetTrimmedText(field), lastText)};
    }
}

void BDbfFile::DbfField2Attribute(std::string_view record, BAttributeDef const& definition,
                                  std::int32_t offset, BAttribute& attribute) {
    std::string_view const field = GetFieldBytes(record, offset, definition.width);
    attribute.SetName(definition.name);
    attribute.SetValue(ConvertField(field, definition.GetType(), nullptr));
}

} // namespace Ambrel
