#include "ShpReader/dbf/DeletionMarks.h"

#include "Ambrel/BInputFile.h"
#include "ShpReader/format/DbfFormat.h"

#include <algorithm>
#include <vector>

namespace Ambrel {

namespace {

constexpr std::uint32_t rowsOfWord = 32;
/// Rows longer than this are not read for the sake of the mark of the next one; bytes.
constexpr std::uint32_t longRow = 2048;

std::uint64_t MarkBit(std::uint32_t index) noexcept {
    return std::uint64_t{1} << index % rowsOfWord;
}

std::uint64_t KnownBit(std::uint32_t index) noexcept {
    return MarkBit(index) << rowsOfWord;
}

/// The bits of `count` rows from `first` on.
std::uint64_t ReadMarks(std::uint32_t first, std::uint32_t count, BInputFile const& file,
                        DbfHeader const& header) {
    std::vector<char> bytes((count - 1) * std::size_t{header.recordLength} + 1);
    bytes.resize(file.Read(header.GetRecordPosition(first), bytes.data(), bytes.size()));
    std::uint64_t bits = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        std::size_t const at = i * std::size_t{header.recordLength};
        bool const isMarked = at < bytes.size() && bytes[at] == dbfDeleted;
        bits |= KnownBit(first + i) | (isMarked ? MarkBit(first + i) : 0);
    }
    return bits;
}

} // namespace

bool DeletionMarks::Has(std::uint32_t index, std::uint32_t rowCount, BInputFile const& file,
                        DbfHeader const& header) {
    std::call_once(isMade, [&] {
        words = std::make_unique<std::atomic<std::uint64_t>[]>(rowCount / rowsOfWord + 1);
    });
    std::atomic<std::uint64_t>& word = words[index / rowsOfWord];
    std::uint64_t bits = word.load(std::memory_order_relaxed);
    if ((bits & KnownBit(index)) == 0) {
        bool const isAlone = header.recordLength > longRow;
        std::uint32_t const first = isAlone ? index : index - index % rowsOfWord;
        bits = ReadMarks(first, isAlone ? 1 : std::min(rowsOfWord, rowCount - first), file, header);
        word.fetch_or(bits, std::memory_order_relaxed);
    }
    return (bits & MarkBit(index)) != 0;
}

} // namespace Ambrel
