#include "ShpReader/shp/ReadAhead.h"

#include <QFile>

#include <algorithm>
#include <cstring>

namespace Ambrel {

namespace {

/// Bytes that are copied in about the time of a system call.
constexpr std::int64_t cheapGap = 4096;

} // namespace

std::size_t ReadAhead::Read(std::int64_t position, void* destination, std::size_t size,
                            std::size_t expected) {
    if (position < 0) {
        return 0;
    }
    auto* const bytes = static_cast<std::uint8_t*>(destination);
    std::size_t done = TakeFromPiece(position, bytes, size);
    if (done == size) {
        return done;
    }
    std::int64_t const next = position + static_cast<std::int64_t>(done);
    if (largestPiece == 0 || size - done >= largestPiece) {
        return done + ReadFile(next, bytes + done, size - done);
    }
    Refill(next, expected - done);
    return done + TakeFromPiece(next, bytes + done, size - done);
}

std::size_t ReadAhead::TakeFromPiece(std::int64_t position, std::uint8_t* destination,
                                     std::size_t size) const noexcept {
    if (position < start || position - start >= static_cast<std::int64_t>(filled)) {
        return 0;
    }
    auto const offset = static_cast<std::size_t>(position - start);
    std::size_t const count = std::min(size, filled - offset);
    std::memcpy(destination, piece.get() + offset, count);
    return count;
}

/// Whether `position` lies behind the piece, with a gap that is cheaper to read than to jump over
/// or no larger than the piece.
bool ReadAhead::IsForward(std::int64_t position) const noexcept {
    auto const size = static_cast<std::int64_t>(filled);
    std::int64_t const gap = position - start - size;
    return size > 0 && gap >= 0 && gap <= std::max<std::int64_t>(size, cheapGap);
}

void ReadAhead::Refill(std::int64_t position, std::size_t expected) {
    std::size_t wanted = std::clamp(expected, std::size_t{1}, largestPiece);
    std::size_t const grown = std::min(2 * filled, largestPiece);
    if (IsForward(position) && grown > wanted && grown - wanted <= allowance) {
        allowance -= grown - wanted;
        wanted = grown;
    }
    filled = 0;
    if (wanted > capacity) {
        capacity = 0;
        piece.reset();
        piece = std::make_unique_for_overwrite<std::uint8_t[]>(wanted);
        capacity = wanted;
    }
    start = position;
    filled = ReadFile(position, piece.get(), wanted);
}

std::size_t ReadAhead::ReadFile(std::int64_t position, std::uint8_t* destination,
                                std::size_t size) {
    if (file->pos() != position && !file->seek(position)) {
        return 0;
    }
    qint64 const count =
        file->read(reinterpret_cast<char*>(destination), static_cast<qint64>(size));
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

} // namespace Ambrel
