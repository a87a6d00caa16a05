// What a layer is told before any record is read, and the whole-file read.

#include "ShpReader/shp/BShpFile.h"

#include "Ambrel/BException.h"
#include "Ambrel/BFeatureCollection.h"
#include "Ambrel/BProgress.h"
#include "ShpReader/shp/GeometryKinds.h"
#include "ShpReader/shp/MetadataKeys.h"
#include "ShpReader/shp/RecordAccess.h"

#include <algorithm>

namespace Ambrel {

namespace {

/// What is decoded of all records of a file may add up to this, at least: an index may name a small
/// file's bytes often.
constexpr std::uint64_t leastContentBudget = 1024 * 1024;

} // namespace

void BShpFile::SetUpLayer(BSharedPtr<BVectorLayer>& layer) {
    try {
        FillLayer(*layer);
        LoadIndex();
    } catch (...) {
        ReleaseBuffers();
        throw;
    }
}

void BShpFile::FillLayer(BVectorLayer& layer) {
    layer.Set3d(hasZ);
    BKeyValuePairs& metadata = layer.GetMetadata();
    if (hasZ) {
        metadata.Add(MetadataKeys::minZ, zMin);
        metadata.Add(MetadataKeys::maxZ, zMax);
    }
    metadata.Add(MetadataKeys::hasMeasures, hasMeasures);
    if (hasMeasures) {
        metadata.Add(MetadataKeys::minMeasure, mMin);
        metadata.Add(MetadataKeys::maxMeasure, mMax);
    }
    if (!dbfFile) {
        throw BNotOpenException("BShpFile::SetUpLayer", fileName);
    }
    layer.SetSingleGeometryClass(GeometryClassOfShapeType(shapeType));
    if (!isTableMissing) {
        dbfFile->ReadSchema();
    }
    layer.SetSchema(dbfFile->GetSchema());
}

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
    RecordStore& store = RequireRecords("BShpFile::Read");
    RecordAccess access(store, {false, hasZ, readsMeasures}, RecordAccess::scanPiece,
                        &store.GetSharedBuffer());
    access.contentBudget = std::max(2 * store.GetMainFile().GetSize(), leastContentBudget);
    for (std::uint32_t index = 0; index < recordCount; ++index) {
        if (!IsLeftOut(index)) {
            RecordContent const content = access.ReadRecord(index);
            // The observer may give the layer another collection.
            layer.GetFeatures().Add(Read(index, content, true, true));
        }
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
