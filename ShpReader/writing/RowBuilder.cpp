#include "ShpReader/writing/RowBuilder.h"

#include "Ambrel/BException.h"
#include "ShpReader/format/DbfFormat.h"
#include "ShpReader/writing/DbfTableStart.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

namespace Ambrel {

namespace {

constexpr char const* tooLong = "the text is too long";
constexpr char const* tooWide = "the number is too wide";
constexpr char const* noNumber = "the value is no number";

/// What a field of each type is where the schema leaves it open.
struct FieldDefault {
    EVariantType type;
    std::int32_t width; ///< bytes; holds every value of the type
    std::int32_t decimals;
};
constexpr FieldDefault fieldDefaults[] = {
    {VAR_BYTE, 4, 0},       {VAR_UNSIGNED_BYTE, 3, 0},
    {VAR_SHORT, 6, 0},      {VAR_UNSIGNED_SHORT, 5, 0},
    {VAR_INTEGER, 11, 0},   {VAR_UNSIGNED_INTEGER, 10, 0},
    {VAR_INTEGER64, 20, 0}, {VAR_UNSIGNED_INTEGER64, 20, 0},
    {VAR_DOUBLE, 24, 15}, // "-1.7976931348623157e+308"
    {VAR_FLOAT, 24, 15},    {VAR_STRING, dbfMaxTextWidth, 0},
    {VAR_DATE, 8, 0},       {VAR_BOOLEAN, 1, 0},
};

[[noreturn]] void Refuse(char const* operation, BAttributeDef const& field, char const* reason) {
    throw BAttributeDataException(operation,
                                  BString::Format("Field=%s, %s", field.name.Ascii(), reason));
}

BAttributeDef CompleteField(BAttributeDef field, char const* operation) {
    auto const* const row =
        std::find_if(std::begin(fieldDefaults), std::end(fieldDefaults),
                     [&](FieldDefault const& each) { return each.type == field.GetType(); });
    if (row == std::end(fieldDefaults)) {
        Refuse(operation, field, "no field holds values of its type");
    }
    if (field.width == 0) {
        field.width = row->width;
        field.decimals = row->decimals;
    }
    if (field.GetType() == VAR_DATE && field.width < row->width) {
        Refuse(operation, field, "a date takes 8 bytes");
    }
    return field;
}

/// Right-aligned, as numbers are.
char const* PlaceNumber(std::span<char> place, std::string_view text) {
    if (text.size() > place.size()) {
        return tooWide;
    }
    std::copy(text.begin(), text.end(), place.end() - static_cast<std::ptrdiff_t>(text.size()));
    return nullptr;
}

/// The value that `get` converts to, or nothing: it gives back what it is told otherwise.
template <class T, class Get>
std::optional<T> Convert(Get get) {
    T const value = get(T{0});
    return value == T{0} && get(T{1}) != T{0} ? std::nullopt : std::optional<T>(value);
}

template <class T>
char const* PlaceInteger(std::span<char> place, std::optional<T> value) {
    if (!value) {
        return noNumber;
    }
    std::array<char, 24> text{};
    char const* const end = std::to_chars(text.data(), text.data() + text.size(), *value).ptr;
    return PlaceNumber(place, {text.data(), end});
}

/// With that many decimals; where these are 0, or do not fit, the shortest text that gives the same
/// value back.
char const* PlaceReal(std::span<char> place, double value, std::int32_t decimals) {
    if (!std::isfinite(value)) {
        return "the number is not finite";
    }
    std::array<char, dbfMaxFieldWidth> text{};
    char* const room = text.data() + place.size();
    if (decimals > 0) {
        auto const [end, error] =
            std::to_chars(text.data(), room, value, std::chars_format::fixed, decimals);
        if (error == std::errc()) {
            return PlaceNumber(place, {text.data(), end});
        }
    }
    auto const [end, error] = std::to_chars(text.data(), room, value);
    return error == std::errc() ? PlaceNumber(place, {text.data(), end}) : tooWide;
}

char const* PlaceReal(std::span<char> place, BVariant const& value, std::int32_t decimals) {
    auto const number =
        Convert<double>([&](double otherwise) { return value.GetValueAsDouble(otherwise); });
    if (!number) {
        return noNumber;
    }
    return std::isnan(*number) ? nullptr : PlaceReal(place, *number, decimals);
}

char const* PlaceLogical(std::span<char> place, BVariant const& value) {
    bool const isTrue = value.GetValueAsBoolean(false);
    if (!isTrue && value.GetValueAsBoolean(true)) {
        return "the value is neither true nor false";
    }
    place.front() = isTrue ? 'T' : 'F';
    return nullptr;
}

char const* PlaceDate(std::span<char> place, BVariant const& value) {
    BString const held = value.GetValueAsString(BString());
    std::string_view const text = held.Utf8();
    if (text.size() > dbfNoDate.size()) {
        return "the date is not of eight digits";
    }
    std::copy(text.begin(), text.end(), place.begin());
    return nullptr;
}

constexpr char nullLogical = '?';

/// Position k is tried first: that is where the attribute is.
BAttribute const* FindAttribute(BAttributes const& attributes, std::uint64_t k,
                                BString const& name) {
    bool const isThere = k < attributes.GetCount() && attributes.GetAt(k).GetName() == name;
    return isThere ? &attributes.GetAt(k) : attributes.Find(name);
}

} // namespace

RowBuilder::RowBuilder(BAttributeDefs const& schema, std::string const& encoding,
                       char const* operation)
    : encoder(encoding, operation) {
    BAttributeDefs complete;
    for (std::uint64_t i = 0; i < schema.GetCount(); ++i) {
        complete.Add(CompleteField(schema.GetAt(i), operation));
        names.push_back(schema.GetAt(i).name);
        decimals.push_back(schema.GetAt(i).width == 0 ? 0 : schema.GetAt(i).decimals);
    }
    fields = LimitDbfSchema(complete, operation);
    std::size_t length = dbfDeletionFlagSize;
    for (std::uint64_t i = 0; i < fields.GetCount(); ++i) {
        std::string_view const name = encoder.Encode(fields.GetAt(i).name);
        encodedNames.emplace_back(name.substr(0, DbfFieldDescriptor::maxWrittenName));
        length += static_cast<std::size_t>(fields.GetAt(i).width);
    }
    row.resize(length);
}

std::span<char const> RowBuilder::Build(BAttributes const& attributes, std::uint32_t record,
                                        char const* operation) {
    std::fill(row.begin(), row.end(), dbfBlank);
    std::span<char> rest = std::span(row).subspan(dbfDeletionFlagSize);
    for (std::uint64_t i = 0; i < fields.GetCount(); ++i) {
        BAttributeDef const& field = fields.GetAt(i);
        std::span<char> const place = rest.first(static_cast<std::size_t>(field.width));
        rest = rest.subspan(place.size());
        BAttribute const* const attribute = FindAttribute(attributes, i, names[i]);
        if (attribute && !attribute->IsNull()) {
            if (char const* const reason = Place(place, attribute->GetValue(), i)) {
                throw BAttributeDataException(
                    operation,
                    BString::Format("Record=%u, Field=%s, %s", record, names[i].Ascii(), reason));
            }
        } else if (field.GetType() == VAR_BOOLEAN) {
            place.front() = nullLogical;
        }
    }
    return row;
}

char const* RowBuilder::Place(std::span<char> place, BVariant const& value, std::uint64_t index) {
    switch (fields.GetAt(index).GetType()) {
    case VAR_STRING: return PlaceText(place, value);
    case VAR_DATE: return PlaceDate(place, value);
    case VAR_BOOLEAN: return PlaceLogical(place, value);
    case VAR_DOUBLE:
    case VAR_FLOAT: return PlaceReal(place, value, decimals[index]);
    case VAR_UNSIGNED_INTEGER64:
        return PlaceInteger(place, Convert<std::uint64_t>([&](std::uint64_t otherwise) {
                                return value.GetValueAsUnsignedInteger64(otherwise);
                            }));
    default:
        return PlaceInteger(place, Convert<std::int64_t>([&](std::int64_t otherwise) {
                                return value.GetValueAsInteger64(otherwise);
                            }));
    }
}

char const* RowBuilder::PlaceText(std::span<char> place, BVariant const& value) {
    BString const text = value.GetValueAsString(BString());
    std::string_view const bytes = encoder.Encode(text);
    if (bytes.size() > place.size()) {
        return tooLong;
    }
    std::copy(bytes.begin(), bytes.end(), place.begin());
    return nullptr;
}

} // namespace Ambrel
