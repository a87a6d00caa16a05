// The whole-file read.

#include "ShpReader/shp/BShpFile.h"

#include "Ambrel/BFeatureCollection.h"
#include "Ambrel/BProgress.h"

#include <algorithm>

namespace Ambrel {

namespace {

/// What all records of a file may add up to, at least: an index may name a small file's bytes
/// often.
constexpr std::uint64_t leastContentBudget = 1024 * 1024;

} // namespace

std::int32_t BShpFile::Read(BSharedPtr<BVectorLayer> const& layer) {
    RequireMode(readMode, "BShpFile::Read");
    bool isDone = false;
    try {
        isDone = ReadAllRecords(*layer);
    } catch (...) {
        ReleaseBuffers();
        throw;
    }
    ReleaseBuffers();
    if (isDone) {
        return 0;
    }
    if (progress) {
        progress->Report(recordCount, recordCount);
    }
    return readCancelled;
}

/// False when the observer ended it.
bool BShpFile::ReadAllRecords(BVectorLayer& layer) {
    if (recordCount == 0) {
        return true;
    }
    RecordAccess access = AccessShared(RecordAccess::scanPiece);
    access.contentBudget = std::max(2 * access.GetMainSize(), leastContentBudget);
    for (std::uint32_t index = 0; index < recordCount; ++index) {
        RecordContent const content = ReadRecord(index, access, shapeBuffer, true);
        // The observer may give the layer another collection.
        layer.GetFeatures().Add(Read(index, content, true, true));
        if (!WantsToGoOn(index)) {
            return false;
        }
    }
    return true;
}

bool BShpFile::WantsToGoOn(std::uint32_t index) const {
    BProgress* const observer = progress;
    return !observer || !observer->WantsReport(index, 0) || observer->Report(index, recordCount);
}

} // namespace Ambrel
