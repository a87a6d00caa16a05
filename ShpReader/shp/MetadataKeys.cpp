#include "ShpReader/shp/MetadataKeys.h"

namespace Ambrel::MetadataKeys {

BString const minZ = L"ShpMinZCoord";
BString const maxZ = L"ShpMaxZCoord";
BString const hasMeasures = L"ShpHasMeasures";
BString const minMeasure = L"ShpMinMeasure";
BString const maxMeasure = L"ShpMaxMeasure";
BString const measures = L"ShpMeasures";

} // namespace Ambrel::MetadataKeys
