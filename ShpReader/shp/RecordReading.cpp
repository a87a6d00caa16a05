// From an index to the bytes of its record, and what is asked of single records.

#include "ShpReader/shp/BShpFile.h"

#include "Ambrel/BException.h"
#include "Ambrel/BLogger.h"

#include <algorithm>

namespace Ambrel {

void BShpFile::RequireMode(std::uint32_t requiredMode, char const* operation) const {
    if (mode != requiredMode) {
        throw BReadWriteMismatchException(operation, BString());
    }
}

void BShpFile::RequireIndex(std::uint64_t index, char const* operation) const {
    if (index >= recordCount) {
        throw BIndexOutOfBoundsException(
            operation, BString::Format("Index=%llu, NumRecords=%u",
                                       static_cast<unsigned long long>(index), recordCount));
    }
}

std::shared_ptr<IndexCopy const> BShpFile::HoldIndex() const {
    std::lock_guard const hold(indexLock);
    return indexBuffer;
}

RecordAccess BShpFile::AccessPrivately(PrivateFile& main, std::size_t piece) const {
    return {main, main.GetSizeAtOpen(), HoldIndex(), nullptr, indexFileName, piece};
}

RecordAccess BShpFile::AccessShared(std::size_t piece) {
    // A failed Open may have left the handles unopened.
    if (!mainInput) {
        throw BFileNotFoundException("BShpFile::Read", fileName);
    }
    return {*mainInput, mainInput->GetSize(), HoldIndex(), indexInput.get(), indexFileName, piece};
}

/// The content of record `index`, of which at most `mostBytes` are read, valid until the next call:
/// in `buffer`, or where that is not the shared one, in what is read ahead. The length in the index
/// governs; what the file does not hold of it is left out.
RecordContent BShpFile::ReadRecord(std::uint32_t index, RecordAccess& access, ContentBuffer& buffer,
                                   bool reuseBuffers, std::uint32_t mostBytes) const {
    RequireIndex(index, "BShpFile::ReadRecord");
    ShpIndexEntry const entry = access.FindEntry(index);
    std::int64_t const position = entry.RecordPosition();
    std::int64_t const contentPosition = position + std::int64_t{ShpRecordHeader::size};
    std::uint32_t const wanted = std::min(entry.ContentSize(), mostBytes);
    std::uint64_t const available = position < 0 ? 0 : access.BytesBehind(contentPosition);
    auto const size = static_cast<std::uint32_t>(std::min<std::uint64_t>(wanted, available));

    ShpRecordHeader const header = access.ReadHeader(position, ShpRecordHeader::size + size);
    if (static_cast<std::uint32_t>(entry.contentLength) != header.contentLength) {
        BLogger::Instance()->WriteLine(
            LOG_WARNING,
            "SHP-Reader: Record length from index (%i) does not match record length from main file "
            "(%u): Possible file corruption.",
            entry.contentLength, header.contentLength);
    }
    if (size > access.contentBudget) {
        return RecordContent(RecordFault::ClaimedTooOften);
    }
    access.contentBudget -= size;
    if (wanted > 0 && size == 0) {
        // Its bytes are missing, but it was to have some: the shared buffer comes into being with
        // it. Where there is no memory for that, the next record tells.
        if (reuseBuffers) {
            buffer.Provide(shapeTypeSize);
        }
        return RecordContent(RecordFault::TooShort);
    }
    if (!reuseBuffers && access.CanViewContent(size)) {
        if (auto const content = access.ViewContent(contentPosition, size)) {
            return RecordContent(*content);
        }
    }
    // A record of no bytes does not make the shared buffer come into being.
    bool const hasRoom = reuseBuffers && size == 0 ? buffer.bytes != nullptr : buffer.Provide(size);
    if (!hasRoom) {
        throw BResourceException("BShpFile::ReadRecord",
                                 "Unable to allocate memory for shape buffer.");
    }
    return {buffer.bytes.get(), access.ReadContent(contentPosition, buffer.bytes.get(), size)};
}

BSharedPtr<BFeature> BShpFile::ReadFeature(std::uint64_t index, bool complete) {
    constexpr char const* operation = "BShpFile::ReadFeature";
    if (mode == readMode) {
        RequireIndex(index, operation);
    }
    try {
        RequireMode(readMode, operation);
        return FetchFeature(static_cast<std::uint32_t>(index), complete);
    } catch (...) {
        ReleaseBuffers();
        throw;
    }
}

BSharedPtr<BFeature> BShpFile::FetchFeature(std::uint32_t index, bool complete) {
    PrivateFile main("BShpFile::ReadFeature", fileName);
    // Large enough to fetch header and content of common records at once.
    constexpr std::size_t piece = 4096;
    RecordAccess access = AccessPrivately(main, piece);
    ContentBuffer buffer;
    RecordContent const content = ReadRecord(index, access, buffer, false);
    return Read(index, content, complete, false);
}

BRect BShpFile::GetFeatureMBRAt(std::uint64_t index) {
    RequireMode(readMode, "BShpFile::ReadFeature");
    RequireIndex(index, "BShpFile::GetFeatureMBRAt");
    std::lock_guard const hold(shapeLock);
    RecordAccess access = AccessShared(0);
    return GetRecordMBR(ReadRecord(static_cast<std::uint32_t>(index), access, shapeBuffer, true));
}

BRect BShpFile::GetRecordMBR(RecordContent content) {
    std::optional<RecordBounds> const bounds = ReadBounds(content);
    return bounds ? BRect(bounds->xMin, bounds->yMin, bounds->xMax, bounds->yMax) : BRect();
}

} // namespace Ambrel
