#pragma once

#include "Ambrel/Config.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace Ambrel {

class BInputFile;

/// Reads a file by position through a piece of it that is held in memory.
///
/// While reads go forward, the pieces grow, so that a scan takes few system calls; a jump falls
/// back to what the reader says it will need. What is read ahead in vain is bounded by twice the
/// file's size, whatever the order of the reads: then nothing is read ahead any more. Where there
/// is no memory for a piece, reads do without. Nothing is used that the file did not give: a short
/// read gives less.
class AMBREL_API BReadAhead {
public:
    /// `largestPiece`: bytes; 0 to read nothing ahead. The file must be open and outlive this;
    /// `fileSize` is its size in bytes. `storage` outlives this too; pieces that it has room for
    /// need no memory of their own.
    BReadAhead(BInputFile const& newFile, std::uint64_t fileSize, std::size_t newLargestPiece,
               std::span<std::uint8_t> storage = {}) noexcept
        : file(&newFile), allowance(2 * fileSize), largestPiece(newLargestPiece), piece(storage) {}
    BReadAhead(BReadAhead const&) = delete;
    BReadAhead& operator=(BReadAhead const&) = delete;

    /// Begins anew, with the memory that it has: nothing is held, and as much may be read ahead in
    /// vain as at first.
    void Restart(std::uint64_t fileSize) noexcept {
        allowance = 2 * fileSize;
        filled = 0;
    }

    /// Copies up to `size` bytes from `position` on, and returns how many the file gave. Of the
    /// bytes from `position` on, `expected` (at least `size`) will be wanted next. A negative
    /// position gives nothing.
    std::size_t Read(std::int64_t position, void* destination, std::size_t size,
                     std::size_t expected);

    /// As Read, without a copy: the bytes stay valid until the next call of either. Nothing where
    /// there is no memory for them, which the storage is. REQUIRES: CanView(size).
    std::optional<std::span<std::uint8_t const>> View(std::int64_t position, std::size_t size,
                                                      std::size_t expected);
    bool CanView(std::size_t size) const noexcept { return size <= largestPiece; }

private:
    /// What the piece holds of `size` bytes from `position` on.
    std::span<std::uint8_t const> FindInPiece(std::int64_t position,
                                              std::size_t size) const noexcept;
    /// False, and an empty piece, where there is no memory for one.
    bool Refill(std::int64_t position, std::size_t expected);
    bool IsForward(std::int64_t position) const noexcept;

    BInputFile const* file;
    std::uint64_t allowance; ///< bytes that may still be read ahead of what is asked for
    std::size_t largestPiece;
    std::unique_ptr<std::uint8_t[]> ownPiece; ///< where the storage is too small
    std::span<std::uint8_t> piece;
    std::int64_t start = 0; ///< position of the piece
    std::size_t filled = 0; ///< bytes of the piece that the file gave
};

} // namespace Ambrel
