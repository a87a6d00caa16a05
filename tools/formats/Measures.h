#pragma once

#include "Ambrel/BFeature.h"

#include <vector>

namespace Ambrel::Tool {

/// The measures of the feature as they are stored, in the order of its record; empty when it has
/// none.
std::vector<double> StoredMeasures(BFeature const& feature);

/// The measures of the geometry's vertices as VisitGeometry gives them. Empty when the feature has
/// none, or has not one for each vertex: rings that the reader had to close have vertices that no
/// measure belongs to.
std::vector<double> MeasuresOf(BFeature const& feature, BGeometry const& geometry);

/// Whether the measure stands for "no data".
bool IsNoData(double measure) noexcept;

} // namespace Ambrel::Tool
