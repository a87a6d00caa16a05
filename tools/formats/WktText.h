#pragma once

#include "Ambrel/BFeature.h"

#include <optional>
#include <string>

namespace Ambrel::Tool {

/// Appends the geometry as well-known text (ISO 19125, with " Z", " M" and " ZM"). Rings are as
/// they are, closed. A measure that is no data is "nan". `hasMeasures` false leaves the feature's
/// measures out; `precision`: see FormatOptions.
void AppendWkt(std::string& text, BFeature const& feature, BGeometry const& geometry,
               bool hasMeasures, std::optional<int> precision);

} // namespace Ambrel::Tool
