// What is asked of single records.

#include "ShpReader/shp/BShpFile.h"

#include "Ambrel/BException.h"
#include "ShpReader/shp/RecordAccess.h"

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

RecordStore& BShpFile::RequireRecords(char const* operation) const {
    if (!records) {
        throw BFileNotFoundException(operation, fileName);
    }
    return *records;
}

bool BShpFile::IsLeftOut(std::uint32_t index) const {
    return options.skipDeleted && !isTableMissing && dbfFile->IsDeleted(index);
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
    RecordStore const& store = RequireRecords("BShpFile::ReadFeature");
    if (IsLeftOut(index)) {
        return {};
    }
    RecordAccess access(store, {false, hasZ, readsMeasures}, RecordAccess::recordPiece);
    return Read(index, access.ReadRecord(index), complete, false);
}

BRect BShpFile::GetFeatureMBRAt(std::uint64_t index) {
    constexpr char const* operation = "BShpFile::GetFeatureMBRAt";
    RequireMode(readMode, "BShpFile::ReadFeature");
    RequireIndex(index, operation);
    RecordStore& store = RequireRecords(operation);
    auto const hold = store.LockSharedBuffer();
    RecordAccess access(store, {}, RecordAccess::recordPiece, &store.GetSharedBuffer());
    return GetRecordMBR(access.ReadRecord(static_cast<std::uint32_t>(index)));
}

BRect BShpFile::GetRecordMBR(RecordContent content) {
    std::optional<RecordBounds> const bounds = ReadBounds(content);
    return bounds ? BRect(bounds->xMin, bounds->yMin, bounds->xMax, bounds->yMax) : BRect();
}

} // namespace Ambrel
