#pragma once

#include "Ambrel/ByteOrder.h"
#include "ShpReader/format/Findings.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace Ambrel {

/// Why a record cannot be decoded, numbered as what it is reported as.
enum class RecordFault : std::uint32_t {
    None = 0,
    TooShort = static_cast<std::uint32_t>(FindingCode::ContentTooShort),
    CountsDoNotFit = static_cast<std::uint32_t>(FindingCode::CountsDoNotFit),
    PartsOutOfOrder = static_cast<std::uint32_t>(FindingCode::PartsOutOfOrder),
    ClaimedTooOften = static_cast<std::uint32_t>(FindingCode::ClaimedTooOften),
};

/// What a fault, which is not None, is reported as.
constexpr FindingCode FindingOf(RecordFault fault) noexcept {
    return static_cast<FindingCode>(fault);
}

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
