#pragma once

#include "Ambrel/BAreaGeo.h"
#include "Ambrel/BTransform.h"

namespace Ambrel {

/// The box of a geometry as a part of a larger one. Parts often do not say themselves that their Z
/// means something: the box has the Z range of the vertices with `in3d`, or where the part says so.
BBox BoxOfPart(BGeometry const& part, bool in3d);

/// The box of a list of vertices, with a Z range where `in3d`. A coordinate that is not a number
/// counts for nothing.
BBox BoxOfVertices(BPoints const& vertices, bool in3d) noexcept;

/// The box of the shell and the holes.
BBox BoxOfDonut(BDonut const& donut, bool in3d);

inline void TransformVertex(BPoint& vertex, BTransform const& transform, bool reverse) {
    if (reverse) {
        transform.Reverse(vertex);
    } else {
        transform.Forward(vertex);
    }
}

} // namespace Ambrel
