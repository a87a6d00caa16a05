#pragma once

#include "Ambrel/BFeature.h"

#include <string>

namespace Ambrel::Tool {

/// Appends the geometry as well-known binary (ISO 19125, little-endian; Z adds 1000 to the code of
/// the kind, M 2000). Rings are as they are, closed; a measure that is no data stays as it is
/// stored. `hasMeasures` false leaves the feature's measures out.
void AppendWkb(std::string& bytes, BFeature const& feature, BGeometry const& geometry,
               bool hasMeasures);

} // namespace Ambrel::Tool
