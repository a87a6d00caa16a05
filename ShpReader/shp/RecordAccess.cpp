#include "ShpReader/shp/RecordAccess.h"

#include "Ambrel/BException.h"
#include "Ambrel/BFileUtilities.h"

#include <array>
#include <new>

namespace Ambrel {

namespace {

std::uint64_t SizeOf(QFile const& file) {
    return static_cast<std::uint64_t>(std::max<qint64>(file.size(), 0));
}

} // namespace

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

std::unique_ptr<QFile> OpenForReading(char const* operation, BString const& path) {
    auto handle = std::make_unique<QFile>(MakeQString(path));
    // A pipe or a device that has taken the file's place would block: only regular files are
    // opened.
    if (!BFileUtilities::Exists(path) ||
        !handle->open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        throw BFileNotFoundException(operation, path);
    }
    return handle;
}

RecordAccess::RecordAccess(QFile& mainHandle, std::shared_ptr<IndexCopy const> newIndexCopy,
                           QFile* newIndexHandle, BString const& newIndexPath, std::size_t piece)
    : mainSize(SizeOf(mainHandle)), main(mainHandle, mainSize, piece),
      indexCopy(std::move(newIndexCopy)), indexHandle(newIndexHandle), indexPath(newIndexPath),
      largestPiece(piece) {}

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
            ownIndexHandle = OpenForReading("BShpFile::ReadRecord", indexPath);
            indexHandle = ownIndexHandle.get();
        }
        index.emplace(*indexHandle, SizeOf(*indexHandle), largestPiece);
    }
    index->Read(ShpIndexEntry::PositionOf(recordIndex), entry.data(), entry.size(), entry.size());
    return ShpIndexEntry::Decode(entry.data());
}

ShpRecordHeader RecordAccess::ReadHeader(std::int64_t position, std::size_t expected) {
    std::array<std::uint8_t, ShpRecordHeader::size> header{};
    main.Read(position, header.data(), header.size(), expected);
    return ShpRecordHeader::Decode(header.data());
}

std::uint64_t RecordAccess::BytesBehind(std::int64_t position) const noexcept {
    if (position < 0 || static_cast<std::uint64_t>(position) >= mainSize) {
        return 0;
    }
    return mainSize - static_cast<std::uint64_t>(position);
}

} // namespace Ambrel
