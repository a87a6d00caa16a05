#include "ShpReader/shp/RecordAccess.h"

#include "Ambrel/BException.h"

#include <array>
#include <new>

namespace Ambrel {

bool ContentBuffer::Provide(std::uint32_t size) noexcept {
    if (bytes && size <= capacity) {
        return true;
    }
    Release();
    bytes.reset(new (std::nothrow) std::uint8_t[size]);
    capacity = bytes ? size : 0;
    return bytes != nullptr;
}

void ContentBuffer::Release() noexcept {
    bytes.reset();
    capacity = 0;
}

PrivateFile::PrivateFile(char const* operation, BString const& path) : BInputFile(path) {
    if (!IsOpen()) {
        throw BFileNotFoundException(operation, path);
    }
}

RecordAccess::RecordAccess(BInputFile const& mainHandle, std::uint64_t newMainSize,
                           std::shared_ptr<IndexCopy const> newIndexCopy,
                           BInputFile const* newIndexHandle, BString const& newIndexPath,
                           std::size_t piece)
    : mainSize(newMainSize), main(mainHandle, mainSize, piece), indexCopy(std::move(newIndexCopy)),
      indexHandle(newIndexHandle), indexPath(newIndexPath), largestPiece(piece) {}

ShpIndexEntry RecordAccess::FindEntry(std::uint32_t recordIndex) {
    std::array<std::uint8_t, ShpIndexEntry::size> entry{};
    if (indexCopy) {
        std::uint64_t const offset = std::uint64_t{ShpIndexEntry::size} * recordIndex;
        return offset + ShpIndexEntry::size <= indexCopy->size
                   ? ShpIndexEntry::Decode(indexCopy->entries.get() + offset)
                   : ShpIndexEntry{};
    }
    if (!index) {
        if (!indexHandle) {
            ownIndex = std::make_unique<PrivateFile>("BShpFile::ReadRecord", indexPath);
            indexHandle = ownIndex.get();
        }
        index.emplace(*indexHandle, indexHandle->GetSize(), largestPiece);
    }
    std::size_t const read = index->Read(ShpIndexEntry::PositionOf(recordIndex), entry.data(),
                                         entry.size(), entry.size());
    return read == entry.size() ? ShpIndexEntry::Decode(entry.data()) : ShpIndexEntry{};
}

ShpRecordHeader RecordAccess::ReadHeader(std::int64_t position, std::size_t expected) {
    std::array<std::uint8_t, ShpRecordHeader::size> header{};
    std::size_t const read = main.Read(position, header.data(), header.size(), expected);
    return read == header.size() ? ShpRecordHeader::Decode(header.data()) : ShpRecordHeader{};
}

std::uint64_t RecordAccess::BytesBehind(std::int64_t position) const noexcept {
    if (position < 0 || static_cast<std::uint64_t>(position) >= mainSize) {
        return 0;
    }
    return mainSize - static_cast<std::uint64_t>(position);
}

} // namespace Ambrel
