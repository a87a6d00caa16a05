#include "ShpReader/format/DbfFormat.h"

#include "Ambrel/ByteOrder.h"

#include <algorithm>
#include <cstring>
#include <limits>

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

std::uint32_t CountWholeRows(DbfHeader const& header, std::int64_t fileSize) noexcept {
    std::int64_t const room = std::max<std::int64_t>(fileSize - header.headerLength, 0);
    return static_cast<std::uint32_t>(std::min<std::int64_t>(
        room / header.recordLength, std::numeric_limits<std::uint32_t>::max()));
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

} // namespace Ambrel
