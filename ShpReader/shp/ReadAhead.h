#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

class QFile;

namespace Ambrel {

/// Reads a file by position through a piece of it that is held in memory.
///
/// While reads go forward without a gap, the pieces grow, up to the size that was asked for; a jump
/// falls back to what the reader says it will need. So a scan takes few system calls, and the bytes
/// that are read in vain never outnumber those that are used by much. It uses nothing that the file
/// did not give: a short read gives less.
class ReadAhead {
public:
    /// `largestPiece`: bytes; 0 to read nothing ahead. The file must be open and outlive this.
    ReadAhead(QFile& newFile, std::size_t newLargestPiece) noexcept
        : file(&newFile), largestPiece(newLargestPiece) {}

    /// Copies up to `size` bytes from `position` on, and returns how many the file gave. Of the
    /// bytes from `position` on, `expected` (at least `size`) will be wanted next. A negative
    /// position gives nothing. May throw std::bad_alloc.
    std::size_t Read(std::int64_t position, void* destination, std::size_t size,
                     std::size_t expected);

private:
    std::size_t TakeFromPiece(std::int64_t position, std::uint8_t* destination,
                              std::size_t size) const noexcept;
    void Refill(std::int64_t position, std::size_t expected);
    std::size_t ReadFile(std::int64_t position, std::uint8_t* destination, std::size_t size);

    QFile* file;
    std::size_t largestPiece;
    std::unique_ptr<std::uint8_t[]> piece;
    std::size_t capacity = 0;
    std::int64_t start = 0; ///< position of the piece
    std::size_t filled = 0; ///< bytes of the piece that the file gave
};

} // namespace Ambrel
