#include "Ambrel/BReadAhead.h"

#include "Ambrel/BInputFile.h"

#include <algorithm>
#include <new>

namespace Ambrel {

namespace {

/// Bytes that are copied in about the time of a system call.
constexpr std::int64_t cheapGap = 4096;

} // namespace

std::size_t BReadAhead::Read(std::int64_t position, void* destination, std::size_t size,
                             std::size_t expected) {
    auto* const bytes = static_cast<std::uint8_t*>(destination);
    auto const copyFromPiece = [&](std::size_t done) {
        std::span<std::uint8_t const> const held =
            FindInPiece(position + static_cast<std::int64_t>(done), size - done);
        std::copy(held.begin(), held.end(), bytes + done);
        return held.size();
    };
    std::size_t const done = copyFromPiece(0);
    if (done == size) {
        return done;
    }
    std::int64_t const next = position + static_cast<std::int64_t>(done);
    bool const isPieceOfUse = largestPiece != 0 && size - done < largestPiece;
    if (isPieceOfUse && Refill(next, expected - done)) {
        return done + copyFromPiece(done);
    }
    return done + file->Read(next, bytes + done, size - done);
}

std::optional<std::span<std::uint8_t const>>
BReadAhead::View(std::int64_t position, std::size_t size, std::size_t expected) {
    std::span<std::uint8_t const> const held = FindInPiece(position, size);
    if (held.size() == size) {
        return held;
    }
    if (!Refill(position, std::max(size, expected))) {
        return std::nullopt;
    }
    return FindInPiece(position, size);
}

std::span<std::uint8_t const> BReadAhead::FindInPiece(std::int64_t position,
                                                      std::size_t size) const noexcept {
    if (position < start || position - start >= static_cast<std::int64_t>(filled)) {
        return {};
    }
    auto const offset = static_cast<std::size_t>(position - start);
    return {piece.data() + offset, std::min(size, filled - offset)};
}

/// Whether `position` lies in the piece, or behind it with a gap that is cheaper to read than to
/// jump over or no larger than the piece.
bool BReadAhead::IsForward(std::int64_t position) const noexcept {
    auto const size = static_cast<std::int64_t>(filled);
    std::int64_t const gap = position - start - size;
    return size > 0 && position >= start && gap <= std::max<std::int64_t>(size, cheapGap);
}

bool BReadAhead::Refill(std::int64_t position, std::size_t expected) {
    std::size_t wanted = std::clamp(expected, std::size_t{1}, largestPiece);
    std::size_t const grown = std::min(2 * filled, largestPiece);
    if (IsForward(position) && grown > wanted && grown - wanted <= allowance) {
        allowance -= grown - wanted;
        wanted = grown;
    }
    filled = 0;
    if (wanted > piece.size()) {
        if (std::unique_ptr<std::uint8_t[]> larger{new (std::nothrow) std::uint8_t[wanted]}) {
            ownPiece = std::move(larger);
            piece = {ownPiece.get(), wanted};
        } else if (wanted = std::clamp(expected, std::size_t{1}, largestPiece);
                   wanted > piece.size()) {
            return false;
        }
    }
    start = position;
    filled = file->Read(position, piece.data(), wanted);
    return true;
}

} // namespace Ambrel
