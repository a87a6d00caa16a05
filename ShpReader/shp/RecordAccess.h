#pragma once

#include "Ambrel/BReadAhead.h"
#include "ShpReader/shp/RecordStore.h"

#include <array>
#include <limits>

namespace Ambrel {

/// How much of each record an operation looks at.
struct ContentNeed {
    bool isBoundsAlone = true;
    bool hasZ = false; ///< of what is decoded
    bool hasMeasures = false;

    /// In bytes, of a content of `size`, by what stands in its `start`.
    std::uint64_t BytesOf(RecordContent start, std::uint64_t size) const noexcept;
};

/// One operation's way to the records of a file: what it reads ahead, and its hold on the index in
/// memory.
class RecordAccess {
public:
    /// How much is read at once, in bytes, by an operation that scans, and by one that wants a
    /// single record: then common records are read with their headers.
    static constexpr std::size_t scanPiece = 256 * 1024;
    static constexpr std::size_t recordPiece = 4096;

    /// `store` outlives this. With a shared buffer, that buffer grows as if the contents were read
    /// into it; else this has one of its own.
    RecordAccess(RecordStore const& newStore, ContentNeed newNeed, std::size_t piece,
                 ContentBuffer* newSharedBuffer = nullptr);
    RecordAccess(RecordAccess const&) = delete;
    RecordAccess& operator=(RecordAccess const&) = delete;

    /// What is needed of the content of record `index`, valid until the next call. The length in
    /// the index governs; what the file does not hold of it is left out. Throws BResourceException
    /// ("BShpFile::ReadRecord") when there is no memory.
    RecordContent ReadRecord(std::uint32_t index);

    /// Bytes of content that this operation may still read. A whole-file read sets it, so that an
    /// index that names the same bytes again and again cannot make it read on and on.
    std::uint64_t contentBudget = std::numeric_limits<std::uint64_t>::max();

private:
    /// The entry of record `index`; zeros where the file does not hold it whole.
    ShpIndexEntry FindEntry(std::uint32_t index);
    std::uint32_t CountHeld(std::int64_t position, std::uint32_t size) noexcept;
    void ProvideSharedBuffer(std::uint32_t size, bool isMissing);
    RecordContent ReadContent(std::int64_t position, std::uint32_t size);

    RecordStore const& store;
    ContentNeed need;
    std::uint64_t mainSize;                           ///< bytes, as far as is known
    std::array<std::uint8_t, recordPiece> firstPiece; ///< not filled: most fetches need no more
    BReadAhead main;
    std::shared_ptr<IndexCopy const> indexCopy;
    std::optional<BReadAhead> index; ///< where there is no copy
    ContentBuffer ownBuffer;
    ContentBuffer* sharedBuffer;
};

} // namespace Ambrel
