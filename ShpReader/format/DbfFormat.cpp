#include "ShpReader/format/DbfFormat.h"

#include "Ambrel/ByteOrder.h"

#include <algorithm>
#include <cstring>

namespace Ambrel {

namespace {

// Offsets in the header, in bytes.
constexpr std::size_t versionOffset = 0;
constexpr std::size_t lastUpdateOffset = 1;
constexpr std::size_t recordCountOffset = 4;
constexpr std::size_t headerLengthOffset = 8;
constexpr std::size_t recordLengthOffset = 10;
constexpr std::size_t reservedOffset = 12;

// Offsets in a field descriptor, in bytes.
constexpr std::size_t typeOffset = 11;
constexpr std::size_t widthOffset = 16;
constexpr std::size_t decimalsOffset = 17;

// Numbers of up to nine digits fit 32 bits.
constexpr std::uint8_t firstInteger64Width = 10;

struct TypeRow {
    EVariantType type;
    char letter;
    bool isText;
    bool hasDecimals;
};

// What declares a field for values of each type. Lists have the field of their elements, as only
// the first one is written.
constexpr TypeRow typeRows[] = {
    {VAR_BYTE, 'N', false, false},       {VAR_UNSIGNED_BYTE, 'N', false, false},
    {VAR_SHORT, 'N', false, false},      {VAR_UNSIGNED_SHORT, 'N', false, false},
    {VAR_INTEGER, 'N', false, false},    {VAR_UNSIGNED_INTEGER, 'N', false, false},
    {VAR_INTEGER64, 'N', false, false},  {VAR_UNSIGNED_INTEGER64, 'N', false, false},
    {VAR_DOUBLE, 'N', false, true},      {VAR_FLOAT, 'N', false, true},
    {VAR_STRING, 'C', true, false},      {VAR_DATE, 'D', false, false},
    {VAR_BOOLEAN, 'L', false, false},    {VAR_INTEGER_LIST, 'N', false, false},
    {VAR_DOUBLE_LIST, 'N', false, true}, {VAR_STRING_LIST, 'C', true, false},
};
// Records refuse values of other types; until then such a field is declared as text.
constexpr TypeRow unknownType = {VAR_NONE, 'C', false, false};

TypeRow const& FindType(EVariantType type) noexcept {
    auto const* const row = std::find_if(std::begin(typeRows), std::end(typeRows),
                                         [type](TypeRow const& each) { return each.type == type; });
    return row == std::end(typeRows) ? unknownType : *row;
}

} // namespace

DbfHeader DbfHeader::Decode(char const* bytes) noexcept {
    DbfHeader header;
    header.version = static_cast<std::uint8_t>(bytes[versionOffset]);
    std::memcpy(header.lastUpdate.data(), bytes + lastUpdateOffset, header.lastUpdate.size());
    header.recordCount = POSH_ReadU32FromLittle(bytes + recordCountOffset);
    header.headerLength = POSH_ReadU16FromLittle(bytes + headerLengthOffset);
    header.recordLength = POSH_ReadU16FromLittle(bytes + recordLengthOffset);
    std::memcpy(header.reserved.data(), bytes + reservedOffset, header.reserved.size());
    return header;
}

void DbfHeader::Encode(char* bytes) const noexcept {
    bytes[versionOffset] = static_cast<char>(version);
    std::memcpy(bytes + lastUpdateOffset, lastUpdate.data(), lastUpdate.size());
    POSH_WriteU32ToLittle(bytes + recordCountOffset, recordCount);
    POSH_WriteU16ToLittle(bytes + headerLengthOffset, headerLength);
    POSH_WriteU16ToLittle(bytes + recordLengthOffset, static_cast<std::uint16_t>(recordLength));
    std::memcpy(bytes + reservedOffset, reserved.data(), reserved.size());
}

std::size_t DbfHeader::GetFieldCount() const noexcept {
    return headerLength < size ? 0 : (headerLength - size) / DbfFieldDescriptor::size;
}

bool DbfHeader::HasRegularLength() const noexcept {
    return headerLength >= size && (headerLength - size) % DbfFieldDescriptor::size <= 1;
}

std::int64_t DbfHeader::GetRecordPosition(std::uint32_t index) const noexcept {
    return headerLength + static_cast<std::int64_t>(index) * recordLength;
}

DbfSizeMatch MatchTableSize(DbfHeader const& header, std::int64_t fileSize) noexcept {
    std::uint32_t const expected = header.headerLength + header.recordCount * header.recordLength;
    std::uint32_t const withFlags = expected + header.recordCount;
    // With or without the end byte.
    auto const fits = [fileSize](std::uint32_t size) {
        return fileSize == size || fileSize == static_cast<std::uint32_t>(size + 1);
    };
    if (fits(expected)) {
        return DbfSizeMatch::Exact;
    }
    return fits(withFlags) ? DbfSizeMatch::WithoutDeletionFlag : DbfSizeMatch::None;
}

DbfFieldDescriptor DbfFieldDescriptor::Decode(char const* bytes) noexcept {
    DbfFieldDescriptor descriptor;
    std::string_view const nameBytes(bytes, nameSize);
    descriptor.name = nameBytes.substr(0, nameBytes.find('\0'));
    descriptor.type = bytes[typeOffset];
    descriptor.width = static_cast<std::uint8_t>(bytes[widthOffset]);
    descriptor.decimals = static_cast<std::uint8_t>(bytes[decimalsOffset]);
    return descriptor;
}

void DbfFieldDescriptor::Encode(char* bytes) const noexcept {
    std::memset(bytes, 0, size);
    name.copy(bytes, nameSize);
    bytes[typeOffset] = type;
    bytes[widthOffset] = static_cast<char>(width);
    bytes[decimalsOffset] = static_cast<char>(decimals);
}

EVariantType DbfFieldDescriptor::GetVariantType() const noexcept {
    switch (type) {
    case 'D':
    case 'd': return VAR_DATE;
    case 'F':
    case 'f': return VAR_DOUBLE;
    case 'L':
    case 'l': return VAR_BOOLEAN;
    case 'N':
    case 'n': break;
    default: return VAR_STRING;
    }
    if (decimals != 0) {
        return VAR_DOUBLE;
    }
    return width < firstInteger64Width ? VAR_INTEGER : VAR_INTEGER64;
}

char GetFieldTypeLetter(EVariantType type, std::int32_t decimals) noexcept {
    TypeRow const& row = FindType(type);
    // "N" without decimals would be read as an integer.
    return row.hasDecimals && decimals == 0 ? 'F' : row.letter;
}

bool IsTextType(EVariantType type) noexcept {
    return FindType(type).isText;
}

bool HasDecimals(EVariantType type) noexcept {
    return FindType(type).hasDecimals;
}

} // namespace Ambrel
