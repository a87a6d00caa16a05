#include "source/DeletedRows.h"

#include "terminal/Interrupt.h"

#include "ShpReader/format/DbfFormat.h"

#include "Ambrel/BFileUtilities.h"
#include "Ambrel/BInputFile.h"

#include <algorithm>
#include <array>
#include <vector>

namespace Ambrel::Tool {

namespace {

constexpr std::uint64_t pieceSize = std::uint64_t{1} << 20; // bytes

/// The marks of rows `first` and behind it, in one piece of the table.
std::uint64_t CountInPiece(BInputFile const& table, DbfHeader const& header, std::uint64_t first,
                           std::uint64_t count, std::vector<char>& piece) {
    std::size_t const size = table.Read(header.GetRecordPosition(static_cast<std::uint32_t>(first)),
                                        piece.data(), count * header.recordLength);
    std::uint64_t deleted = 0;
    for (std::size_t row = 0; row < size; row += header.recordLength) {
        deleted += piece[row] == '*';
    }
    return deleted;
}

} // namespace

std::uint64_t CountDeletedRows(BString const& shapefile) {
    BInputFile const table(BFileUtilities::ChangeExtension(shapefile, BString::FromUtf8(".dbf")));
    std::array<char, DbfHeader::size> bytes{};
    if (table.Read(0, bytes.data(), bytes.size()) < bytes.size()) {
        return 0;
    }
    DbfHeader header = DbfHeader::Decode(bytes.data());
    auto const size = static_cast<std::int64_t>(table.GetSize());
    if (!header.IsValid() || size < header.headerLength) {
        return 0;
    }
    header.recordLength += MatchTableSize(header, size) == DbfSizeMatch::WithoutDeletionFlag;
    std::uint64_t const whole =
        static_cast<std::uint64_t>(size - header.headerLength) / header.recordLength;
    std::uint64_t const rows = std::min<std::uint64_t>(header.recordCount, whole);
    std::uint64_t const rowsAtOnce = std::max<std::uint64_t>(pieceSize / header.recordLength, 1);
    std::vector<char> piece(rowsAtOnce * header.recordLength);
    std::uint64_t deleted = 0;
    for (std::uint64_t first = 0; first < rows; first += rowsAtOnce) {
        ThrowIfInterrupted();
        deleted += CountInPiece(table, header, first, std::min(rowsAtOnce, rows - first), piece);
    }
    return deleted;
}

} // namespace Ambrel::Tool
