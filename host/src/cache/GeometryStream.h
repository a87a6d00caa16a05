#pragma once

#include "Ambrel/BGeometry.h"
#include "cache/ByteReader.h"

namespace Ambrel {

/// Appends the geometry, or what stands for none. Throws BUnknownGeometryException for one of a
/// kind that has no bytes, or that is nested too deep.
void WriteGeometry(BGeometry const* geometry, BByteArray& bytes);
/// Undoes WriteGeometry; everything is checked. An empty holder stands for none.
BSharedPtr<BGeometry> ReadGeometry(ByteReader& reader);

} // namespace Ambrel
