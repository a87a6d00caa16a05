#pragma once

#include "Ambrel/BLayer.h"

#include <string>

namespace Ambrel::Tool {

/// What a writer is told of a layer before its features come.
struct LayerDescription {
    std::string name;
    BAttributeDefs schema; ///< no fields where no attributes are written
    EGeometryClass geometryClass = GEO_CLASS_NONE;
    bool hasZ = false;
    /// Whether features may have measures, which then stand in their metadata.
    bool hasMeasures = false;
    /// Of the coordinates that are written; empty when it is not known.
    BSharedPtr<BCoordSys> coordSys;
};

/// The layer as it was opened.
LayerDescription DescribeLayer(BVectorLayer const& layer);

} // namespace Ambrel::Tool
