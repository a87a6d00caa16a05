// From an index to the bytes of its record.

#include "ShpReader/shp/RecordAccess.h"

#include "Ambrel/BException.h"
#include "ShpReader/Report.h"

#include <algorithm>

namespace Ambrel {

std::uint64_t ContentNeed::BytesOf(RecordContent start, std::uint64_t size) const noexcept {
    return isBoundsAlone ? std::min<std::uint64_t>(size, mostBytesWithBounds)
                         : BytesToDecode(start, size, hasZ, hasMeasures);
}

RecordAccess::RecordAccess(RecordStore const& newStore, ContentNeed newNeed, std::size_t piece,
                           ContentBuffer* newSharedBuffer) // NOLINT(*-member-init): firstPiece
    : store(newStore), need(newNeed), mainSize(store.GetMainFile().GetSizeAtOpen()),
      main(store.GetMainFile(), mainSize, piece, firstPiece), indexCopy(store.HoldIndex()),
      sharedBuffer(newSharedBuffer) {
    if (BInputFile const* const file = store.GetIndexFile(); file && !indexCopy) {
        bool const isScan = piece > recordPiece;
        index.emplace(*file, isScan ? file->GetSize() : 0, isScan ? piece : 0);
    }
}

ShpIndexEntry RecordAccess::FindEntry(std::uint32_t recordIndex) {
    std::array<std::uint8_t, ShpIndexEntry::size> entry{};
    if (indexCopy) {
        std::uint64_t const offset = std::uint64_t{ShpIndexEntry::size} * recordIndex;
        return offset + ShpIndexEntry::size <= indexCopy->size
                   ? ShpIndexEntry::Decode(indexCopy->entries.get() + offset)
                   : ShpIndexEntry{};
    }
    std::size_t const read = index->Read(ShpIndexEntry::PositionOf(recordIndex), entry.data(),
                                         entry.size(), entry.size());
    return read == entry.size() ? ShpIndexEntry::Decode(entry.data()) : ShpIndexEntry{};
}

/// Of `size` bytes from `position` on, those that the main file holds.
std::uint32_t RecordAccess::CountHeld(std::int64_t position, std::uint32_t size) noexcept {
    if (position < std::int64_t{ShpRecordHeader::size}) {
        return 0; // so the record's header has no place
    }
    auto const start = static_cast<std::uint64_t>(position);
    if (start + size > mainSize) {
        mainSize = store.GetMainFile().GetSize(); // It may have grown since it was opened.
    }
    std::uint64_t const held = start < mainSize ? mainSize - start : 0;
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(size, held));
}

RecordContent RecordAccess::ReadRecord(std::uint32_t recordIndex) {
    ShpIndexEntry const entry = FindEntry(recordIndex);
    std::int64_t const position = entry.RecordPosition();
    std::int64_t const contentPosition = position + std::int64_t{ShpRecordHeader::size};
    std::uint32_t const size = CountHeld(contentPosition, entry.ContentSize());

    // A claim of length alone makes nothing be read beyond the first piece.
    std::span<std::uint8_t const> const start =
        *main.View(position, ShpRecordHeader::size + std::min(size, mostBytesWithCounts),
                   std::min(ShpRecordHeader::size + std::size_t{size}, recordPiece));
    ShpRecordHeader const header = start.size() < ShpRecordHeader::size
                                       ? ShpRecordHeader{}
                                       : ShpRecordHeader::Decode(start.data());
    if (static_cast<std::uint32_t>(entry.contentLength) != header.contentLength) {
        Report(FindingCode::LengthsDiffer, store.GetMainPath(), recordIndex,
               {std::int64_t{entry.contentLength}, std::int64_t{header.contentLength}});
    }
    bool const isMissing = entry.ContentSize() > 0 && size == 0;
    ProvideSharedBuffer(size, isMissing);
    if (isMissing || start.size() <= ShpRecordHeader::size) {
        return RecordContent(RecordFault::TooShort);
    }
    RecordContent const content(start.subspan(ShpRecordHeader::size));
    auto const wanted = static_cast<std::uint32_t>(need.BytesOf(content, size));
    if (wanted > contentBudget) {
        return RecordContent(RecordFault::ClaimedTooOften);
    }
    contentBudget -= wanted;
    return content.Holds(0, wanted) ? content : ReadContent(contentPosition, wanted);
}

/// A record of no words does not make the shared buffer come into being, but one whose bytes are
/// missing was to have some. Where there is no memory for that, the next record tells.
void RecordAccess::ProvideSharedBuffer(std::uint32_t size, bool isMissing) {
    if (!sharedBuffer) {
        return;
    }
    if (isMissing) {
        sharedBuffer->Provide(shapeTypeSize);
        return;
    }
    bool const hasRoom = size == 0 ? sharedBuffer->bytes != nullptr : sharedBuffer->Provide(size);
    if (!hasRoom) {
        throw BResourceException("BShpFile::ReadRecord",
                                 "Unable to allocate memory for shape buffer.");
    }
}

RecordContent RecordAccess::ReadContent(std::int64_t position, std::uint32_t size) {
    if (main.CanView(size)) {
        if (auto const content = main.View(position, size, size)) {
            return RecordContent(*content);
        }
    }
    ContentBuffer& buffer = sharedBuffer ? *sharedBuffer : ownBuffer;
    if (!buffer.Provide(size)) {
        throw BResourceException("BShpFile::ReadRecord",
                                 "Unable to allocate memory for shape buffer.");
    }
    return {buffer.bytes.get(), main.Read(position, buffer.bytes.get(), size, size)};
}

} // namespace Ambrel
