#include "ShpReader/shp/RecordStore.h"

#include "Ambrel/BException.h"
#include "ShpReader/shp/IndexSalvage.h"

#include <array>
#include <new>

namespace Ambrel {

namespace {

void RequireOpen(BInputFile const& file, char const* operation, BString const& path) {
    if (!file.IsOpen()) {
        BFileNotFoundException failure(operation, path);
        failure.SetReason(file.GetOpenError());
        throw failure;
    }
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

RecordStore::RecordStore(char const* operation, BString const& newMainPath)
    : mainPath(newMainPath), main(newMainPath) {
    RequireOpen(main, operation, mainPath);
}

void RecordStore::OpenIndex(char const* operation, BString const& indexPath) {
    auto opened = std::make_unique<BInputFile>(indexPath);
    RequireOpen(*opened, operation, indexPath);
    TakeIndex(std::move(opened));
}

void RecordStore::TakeIndex(std::unique_ptr<BInputFile> opened) noexcept {
    index = std::move(opened);
    // Sizes of files are taken modulo 2^32.
    recordCount = ShpIndexEntry::CountIn(static_cast<std::uint32_t>(index->GetSizeAtOpen()));
}

bool RecordStore::OpenOrMakeIndex(BString const& indexPath) {
    auto opened = std::make_unique<BInputFile>(indexPath);
    if (opened->IsOpen() && HasUsableEntry(main, *opened)) {
        TakeIndex(std::move(opened));
        return false;
    }
    std::shared_ptr<IndexCopy const> made = MakeIndex(main);
    auto const size = static_cast<std::uint32_t>(opened->GetSizeAtOpen());
    if (opened->IsOpen() && ShpIndexEntry::CountIn(size) == 0 && made->size == 0) {
        TakeIndex(std::move(opened));
        return false;
    }
    recordCount = static_cast<std::uint32_t>(made->size / ShpIndexEntry::size);
    indexCopy = madeIndex = std::move(made);
    return true;
}

std::optional<ShpFileHeader> RecordStore::ReadHeader() const {
    std::array<std::uint8_t, ShpFileHeader::size> bytes{};
    bool const isWhole = main.Read(0, bytes.data(), bytes.size()) == bytes.size();
    ShpFileHeader const header = ShpFileHeader::Decode(bytes.data());
    return isWhole && header.IsValid() ? std::optional(header) : std::nullopt;
}

void RecordStore::LoadIndex() {
    ReleaseBuffers();
    if (!index) {
        return;
    }
    std::uint64_t const size = std::uint64_t{ShpIndexEntry::size} * recordCount;
    try {
        auto copy = std::make_shared<IndexCopy>();
        copy->entries.reset(new std::uint8_t[size]);
        copy->size = index->Read(ShpIndexEntry::PositionOf(0), copy->entries.get(), size);
        std::lock_guard const hold(indexLock);
        indexCopy = std::move(copy);
    } catch (std::bad_alloc const&) { // NOLINT(bugprone-empty-catch): done without, as said
    }
}

void RecordStore::ReleaseBuffers() noexcept {
    {
        std::lock_guard const hold(bufferLock);
        sharedBuffer.Release();
    }
    std::lock_guard const hold(indexLock);
    indexCopy = madeIndex;
}

std::shared_ptr<IndexCopy const> RecordStore::HoldIndex() const {
    std::lock_guard const hold(indexLock);
    return indexCopy;
}

} // namespace Ambrel
