#pragma once

#include "Ambrel/BString.h"

/// The metadata keys of shapefile layers and features. Made once, so that a million features share
/// one text each.
namespace Ambrel::MetadataKeys {

extern BString const minZ;        ///< "ShpMinZCoord"
extern BString const maxZ;        ///< "ShpMaxZCoord"
extern BString const hasMeasures; ///< "ShpHasMeasures", on layers only
extern BString const minMeasure;  ///< "ShpMinMeasure"
extern BString const maxMeasure;  ///< "ShpMaxMeasure"
extern BString const measures;    ///< "ShpMeasures", on features only

} // namespace Ambrel::MetadataKeys
