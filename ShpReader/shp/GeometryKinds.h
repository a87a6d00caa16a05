#pragma once

#include "Ambrel/BGeometry.h"

namespace Ambrel {

/// The class of the geometries that records of a shape type become; GEO_CLASS_NONE for null,
/// multipatch and unknown types.
EGeometryClass GeometryClassOfShapeType(std::uint32_t shapeType) noexcept;

/// The geometry type that stands for a class in a collection's counts.
EGeometryType GeometryTypeOfClass(EGeometryClass geometryClass) noexcept;

} // namespace Ambrel
