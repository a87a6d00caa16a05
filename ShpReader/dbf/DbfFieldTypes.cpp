#include "ShpReader/dbf/DbfFieldTypes.h"

#include "ShpReader/dbf/DbfFieldConversion.h"

#include <algorithm>

namespace Ambrel {

namespace {

using Descriptor = DbfFieldDescriptor;

// Numbers of up to nine digits fit 32 bits.
constexpr std::uint8_t firstInteger64Width = 10;

bool HasLetter(Descriptor const& descriptor, char upper) noexcept {
    return descriptor.type == upper || descriptor.type == upper - 'A' + 'a';
}

bool IsWhole(Descriptor const& descriptor) noexcept {
    return HasLetter(descriptor, 'N') && descriptor.decimals == 0;
}

bool IsInteger(Descriptor const& descriptor) noexcept {
    return IsWhole(descriptor) && descriptor.width < firstInteger64Width;
}

bool IsInteger64(Descriptor const& descriptor) noexcept {
    return IsWhole(descriptor) && descriptor.width >= firstInteger64Width;
}

bool IsReal(Descriptor const& descriptor) noexcept {
    return HasLetter(descriptor, 'F') || (HasLetter(descriptor, 'N') && descriptor.decimals != 0);
}

bool IsDate(Descriptor const& descriptor) noexcept {
    return HasLetter(descriptor, 'D');
}

bool IsLogical(Descriptor const& descriptor) noexcept {
    return HasLetter(descriptor, 'L');
}

/// Every letter that is nothing else: memo fields, too, hold their raw bytes.
bool IsAnything(Descriptor const&) noexcept {
    return true;
}

// The first row that a descriptor declares is its type. Lists have the field of their elements, as
// only the first one is written.
//
//   type                    letter text   decimals read as      value             default value
//                                                                                 missing
constexpr FieldType fieldTypes[] = {
    {VAR_INTEGER, 'N', false, false, IsInteger, ConvertInteger, MakeNoInteger, HoldsNoNumber},
    {VAR_INTEGER64, 'N', false, false, IsInteger64, ConvertInteger64, MakeNoInteger64,
     HoldsNoNumber},
    {VAR_DOUBLE, 'N', false, true, IsReal, ConvertDouble, MakeNoDouble, HoldsNoNumber},
    {VAR_DATE, 'D', false, false, IsDate, ConvertDate, MakeNoDate, nullptr},
    {VAR_BOOLEAN, 'L', false, false, IsLogical, ConvertLogical, MakeNoLogical, HoldsNoLogical},
    {VAR_STRING, 'C', true, false, IsAnything, ConvertText, MakeNoText, nullptr},

    {VAR_BYTE, 'N', false, false, nullptr, ConvertText, MakeNoText, nullptr},
    {VAR_UNSIGNED_BYTE, 'N', false, false, nullptr, ConvertText, MakeNoText, nullptr},
    {VAR_SHORT, 'N', false, false, nullptr, ConvertText, MakeNoText, nullptr},
    {VAR_UNSIGNED_SHORT, 'N', false, false, nullptr, ConvertText, MakeNoText, nullptr},
    {VAR_UNSIGNED_INTEGER, 'N', false, false, nullptr, ConvertText, MakeNoText, nullptr},
    {VAR_UNSIGNED_INTEGER64, 'N', false, false, nullptr, ConvertText, MakeNoText, nullptr},
    {VAR_FLOAT, 'N', false, true, nullptr, ConvertText, MakeNoText, nullptr},
    {VAR_INTEGER_LIST, 'N', false, false, nullptr, ConvertText, MakeNoText, nullptr},
    {VAR_DOUBLE_LIST, 'N', false, true, nullptr, ConvertText, MakeNoText, nullptr},
    {VAR_STRING_LIST, 'C', true, false, nullptr, ConvertText, MakeNoText, nullptr},
};

// Records refuse values of other types; until then such a field is declared as text.
constexpr FieldType noType = {VAR_NONE, 'C',         false,      false,
                              nullptr,  ConvertText, MakeNoText, nullptr};

} // namespace

FieldType const& GetFieldType(EVariantType type) noexcept {
    auto const* const row = std::find_if(std::begin(fieldTypes), std::end(fieldTypes),
                                         [=](FieldType const& each) { return each.type == type; });
    return row == std::end(fieldTypes) ? noType : *row;
}

FieldType const& GetFieldType(DbfFieldDescriptor const& descriptor) noexcept {
    auto const* const row =
        std::find_if(std::begin(fieldTypes), std::end(fieldTypes), [&](FieldType const& each) {
            return each.isDeclaredBy && each.isDeclaredBy(descriptor);
        });
    return row == std::end(fieldTypes) ? noType : *row;
}

char GetFieldTypeLetter(EVariantType type, std::int32_t decimals) noexcept {
    FieldType const& row = GetFieldType(type);
    // "N" without decimals would be read as an integer.
    return row.hasDecimals && decimals == 0 ? 'F' : row.letter;
}

bool IsTextType(EVariantType type) noexcept {
    return GetFieldType(type).isText;
}

bool HasDecimals(EVariantType type) noexcept {
    return GetFieldType(type).hasDecimals;
}

} // namespace Ambrel
