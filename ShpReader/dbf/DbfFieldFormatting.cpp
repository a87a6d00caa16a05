#include "ShpReader/dbf/DbfFieldFormatting.h"

#include "ShpReader/format/DbfFormat.h"

#include <algorithm>
#include <charconv>

namespace Ambrel {

namespace {

constexpr std::int32_t dateWidth = 8;
constexpr std::int32_t defaultDecimals = 6; // where a negative count asks for none in particular
/// No double has more digits after its point. Beyond them all digits are 0.
constexpr std::int32_t maxFractionDigits = 1074;
/// Sign, 309 digits, point.
constexpr std::size_t maxIntegerPart = 311;

/// As many decimals as can matter: the text is cut to the field's width, and its digits are exact
/// where there are more than a double has.
std::int32_t LimitDecimals(BAttributeDef const& field) {
    if (field.decimals < 0) {
        return defaultDecimals;
    }
    std::int32_t const width = std::clamp<std::int32_t>(field.width, 0, dbfMaxRecordLength);
    return std::min(field.decimals, width + maxFractionDigits);
}

} // namespace

bool DbfFieldText::Format(BVariant const& value, BAttributeDef const& field) {
    static BString const noText;
    static BString const noDate = BString::FromUtf8(dbfNoDate);
    isRightAligned = false;
    switch (field.GetType()) {
    case VAR_STRING: SetText(value.GetValueAsString(noText)); return true;
    case VAR_DATE: SetText(value.GetValueAsString(noDate).Left(dateWidth)); return true;
    case VAR_BOOLEAN: text = value.GetValueAsBoolean(false) ? "T" : "F"; return true;
    case VAR_INTEGER_LIST:
    case VAR_DOUBLE_LIST:
    case VAR_STRING_LIST: return FormatListElement(value, field);
    default: return FormatNumber(value, field);
    }
}

bool DbfFieldText::FormatNumber(BVariant const& value, BAttributeDef const& field) {
    isRightAligned = true;
    switch (field.GetType()) {
    case VAR_BYTE: SetInteger(value.GetValueAsByte(0)); return true;
    case VAR_UNSIGNED_BYTE: SetInteger(value.GetValueAsUnsignedByte(0)); return true;
    case VAR_SHORT: SetInteger(value.GetValueAsShort(0)); return true;
    case VAR_UNSIGNED_SHORT: SetInteger(value.GetValueAsUnsignedShort(0)); return true;
    case VAR_INTEGER: SetInteger(value.GetValueAsInteger(0)); return true;
    // The bits of unsigned values are printed as signed ones.
    case VAR_UNSIGNED_INTEGER:
        SetInteger(static_cast<std::int32_t>(value.GetValueAsUnsignedInteger(0)));
        return true;
    case VAR_INTEGER64: SetInteger(value.GetValueAsInteger64(0)); return true;
    case VAR_UNSIGNED_INTEGER64:
        SetInteger(static_cast<std::int64_t>(value.GetValueAsUnsignedInteger64(0)));
        return true;
    case VAR_DOUBLE: SetDouble(value.GetValueAsDouble(0.0), field); return true;
    case VAR_FLOAT: SetDouble(value.GetValueAsFloat(0.0F), field); return true;
    default: return false;
    }
}

bool DbfFieldText::FormatListElement(BVariant const& value, BAttributeDef const& field) {
    text = {};
    if (field.GetType() == VAR_INTEGER_LIST) {
        if (auto const list = value.GetValueAsIntegerList({}); !list.empty()) {
            SetInteger(list.front());
        }
    } else if (field.GetType() == VAR_DOUBLE_LIST) {
        if (auto const list = value.GetValueAsDoubleList({}); !list.empty()) {
            isRightAligned = true;
            SetDouble(list.front(), field);
        }
    } else if (auto const list = value.GetValueAsStringList({}); !list.empty()) {
        SetText(list.front());
    }
    return true;
}

void DbfFieldText::SetInteger(std::int64_t value) {
    char const* const end = std::to_chars(small.data(), small.data() + small.size(), value).ptr;
    text = {small.data(), static_cast<std::size_t>(end - small.data())};
}

void DbfFieldText::SetDouble(double value, BAttributeDef const& field) {
    std::int32_t const decimals = LimitDecimals(field);
    std::size_t const room = maxIntegerPart + static_cast<std::size_t>(decimals);
    char* start = small.data();
    if (room > small.size()) {
        large.resize(std::max(large.size(), room));
        start = large.data();
    }
    char const* const end =
        std::to_chars(start, start + room, value, std::chars_format::fixed, decimals).ptr;
    text = {start, static_cast<std::size_t>(end - start)};
}

void DbfFieldText::SetText(BString const& value) {
    held = value;
    std::string_view const bytes = held.Utf8();
    text = bytes.substr(0, bytes.find('\0'));
}

} // namespace Ambrel
