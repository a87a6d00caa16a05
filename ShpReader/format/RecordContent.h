#pragma once

#include "Ambrel/ByteOrder.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace Ambrel {

/// Why a record can not be decoded.
enum class RecordFault : std::uint8_t {
    None,
    TooShort,        ///< the content ends before its fixed fields do
    CountsDoNotFit,  ///< the vertices that the counts promise are not there
    PartsOutOfOrder, ///< the part starts decrease, or lie outside the vertices
    ClaimedTooOften, ///< the index names more bytes in all than the file can stand for
};

/// The fault as a log line names it.
char const* DescribeFault(RecordFault fault) noexcept;

/// The content of one record: its bytes and their number, which never part. Whoever reads asks
/// Holds first; nothing else bounds a record.
class RecordContent {
public:
    RecordContent(std::uint8_t const* newBytes, std::size_t newSize) noexcept
        : bytes(newBytes), size(newSize) {}
    explicit RecordContent(std::span<std::uint8_t const> content) noexcept
        : RecordContent(content.data(), content.size()) {}
    /// No content, and why.
    explicit RecordContent(RecordFault reason) noexcept : missingBecause(reason) {}

    /// Whether `count` bytes from `offset` on are there.
    bool Holds(std::uint64_t offset, std::uint64_t count) const noexcept {
        return offset <= size && count <= size - offset;
    }
    /// Why a content that is too short is so.
    RecordFault WhyShort() const noexcept { return missingBecause; }

    /// REQUIRES, for each of the following: Holds(offset, the bytes that are read).
    std::int32_t ReadI32(std::size_t offset) const noexcept {
        return POSH_ReadI32FromLittle(bytes + offset);
    }
    double ReadDouble(std::size_t offset) const noexcept {
        double stored;
        std::memcpy(&stored, bytes + offset, sizeof stored);
        return ReadDoubleFromLittle(stored);
    }

private:
    std::uint8_t const* bytes = nullptr;
    std::size_t size = 0;
    RecordFault missingBecause = RecordFault::TooShort;
};

} // namespace Ambrel
