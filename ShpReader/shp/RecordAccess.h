#pragma once

#include "Ambrel/BInputFile.h"
#include "Ambrel/BReadAhead.h"
#include "Ambrel/BString.h"
#include "ShpReader/format/ShpFormat.h"

#include <limits>
#include <memory>
#include <optional>

namespace Ambrel {

/// A copy of the index entries in memory, as they stand in the file. Immutable once made, so that
/// operations on several threads can hold it while the file lets it go.
struct IndexCopy {
    std::unique_ptr<std::uint8_t[]> entries;
    std::uint64_t size = 0; ///< bytes that the file gave
};

/// Room for one record's content.
struct ContentBuffer {
    std::unique_ptr<std::uint8_t[]> bytes;
    std::uint32_t capacity = 0; ///< bytes

    /// Makes room for `size` bytes: keeps what it has if that is enough, else frees it and
    /// allocates exactly that many. False, and nothing held, when there is no memory.
    bool Provide(std::uint32_t size) noexcept;
    void Release() noexcept;
};

/// A handle of one operation's own, open for reading. Throws BFileNotFoundException (operation,
/// path) when the path is no regular file or does not open.
class PrivateFile final : public BInputFile {
public:
    PrivateFile(char const* operation, BString const& path);
};

/// One operation's way to the records of a main file: its handles, what it reads ahead, and its
/// hold on the index in memory.
class RecordAccess {
public:
    /// How much a scan reads at once, in bytes.
    static constexpr std::size_t scanPiece = 256 * 1024;

    /// `mainHandle` is open and outlives this; its file has `newMainSize` bytes. Index entries come
    /// from `indexCopy`; where that is null, through `indexHandle`, or when that is null too,
    /// through a handle on `indexPath` made at the first need. `piece`: see BReadAhead.
    RecordAccess(BInputFile const& mainHandle, std::uint64_t newMainSize,
                 std::shared_ptr<IndexCopy const> newIndexCopy, BInputFile const* newIndexHandle,
                 BString const& newIndexPath, std::size_t piece);

    /// The entry of record `index`; zeros where the file does not hold it whole. Throws
    /// BFileNotFoundException ("BShpFile::ReadRecord", the path of the index).
    ShpIndexEntry FindEntry(std::uint32_t index);
    /// Zeros where the file does not hold it whole. `expected`: as BReadAhead has it.
    ShpRecordHeader ReadHeader(std::int64_t position, std::size_t expected);
    /// Copies record content; returns how many bytes there were.
    std::size_t ReadContent(std::int64_t position, std::uint8_t* destination, std::size_t size) {
        return main.Read(position, destination, size, size);
    }
    /// The same without a copy, valid until the next call of any of these; see BReadAhead::View.
    /// REQUIRES: CanViewContent(size).
    std::optional<std::span<std::uint8_t const>> ViewContent(std::int64_t position,
                                                             std::size_t size) {
        return main.View(position, size, size);
    }
    bool CanViewContent(std::size_t size) const noexcept { return main.CanView(size); }
    /// The bytes that the main file holds from `position` on.
    std::uint64_t BytesBehind(std::int64_t position) const noexcept;

    /// Bytes of content that this operation may still read. A whole-file read sets it, so that an
    /// index that names the same bytes again and again can not make it read on and on.
    std::uint64_t contentBudget = std::numeric_limits<std::uint64_t>::max();

    std::uint64_t GetMainSize() const noexcept { return mainSize; }

private:
    std::uint64_t mainSize; ///< bytes, when the operation began
    BReadAhead main;
    std::shared_ptr<IndexCopy const> indexCopy;
    BInputFile const* indexHandle;
    BString indexPath;
    std::size_t largestPiece;
    std::unique_ptr<PrivateFile> ownIndex;
    std::optional<BReadAhead> index;
};

} // namespace Ambrel
