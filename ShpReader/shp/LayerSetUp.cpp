// What a layer is told before any record is read.

#include "ShpReader/shp/BShpFile.h"

#include "Ambrel/BException.h"
#include "ShpReader/shp/GeometryKinds.h"
#include "ShpReader/shp/MetadataKeys.h"

namespace Ambrel {

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
    dbfFile->ReadSchema();
    layer.SetSchema(dbfFile->GetSchema());
}

} // namespace Ambrel
