#include "ShpReader/dbf/DbfFieldConversion.h"

#include "ShpReader/dbf/BDbfFile.h"
#include "ShpReader/dbf/DbfNumberText.h"

namespace Ambrel {

namespace {

std::string_view CutAtNul(std::string_view text) noexcept {
    return text.substr(0, text.find('\0'));
}

BVariant ConvertDate(std::string_view field) {
    std::string_view const text = GetTrimmedText(field);
    if (text.empty() || text == dbfNoDate) {
        return {};
    }
    BVariant value(BString(text.data(), text.size()));
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

bool IsScalarType(EVariantType type) noexcept {
    return type == VAR_INTEGER || type == VAR_INTEGER64 || type == VAR_DOUBLE ||
           type == VAR_BOOLEAN || type == VAR_DATE;
}

BVariant ConvertScalar(std::string_view field, EVariantType type) {
    switch (type) {
    case VAR_INTEGER: return {ParseInteger(CutAtNul(field))};
    case VAR_INTEGER64: return {ParseInteger64(CutAtNul(field))};
    case VAR_DOUBLE: return {ParseDouble(CutAtNul(field))};
    case VAR_BOOLEAN: return {field.find_first_of("TtYy1") != std::string_view::npos};
    default: return ConvertDate(field);
    }
}

void BDbfFile::DbfField2Attribute(std::string_view record, BAttributeDef const& definition,
                                  std::int32_t offset, BAttribute& attribute) {
    std::string_view const field = GetFieldBytes(record, offset, definition.width);
    attribute.SetName(definition.name);
    if (IsScalarType(definition.GetType())) {
        attribute.SetValue(ConvertScalar(field, definition.GetType()));
        return;
    }
    std::string_view const text = GetTrimmedText(field);
    attribute.SetValue(BVariant(BString(text.data(), text.size())));
}

} // namespace Ambrel
