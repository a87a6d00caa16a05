#pragma once

#include "Ambrel/BPoint.h"
#include "ShpReader/shp/ShpFormat.h"

namespace Ambrel {

/// Vertex `index` of the record; Z 0 where the record has none.
inline BPoint ReadVertex(VertexRecord const& record, std::size_t index) {
    return {record.X(index), record.Y(index), record.HasZ() ? record.Z(index) : 0.0};
}

/// `count` vertices from `first` on.
inline BPoints ReadVertices(VertexRecord const& record, std::size_t first, std::size_t count) {
    BPoints points;
    points.Reserve(count);
    for (std::size_t i = first; i < first + count; ++i) {
        points.Add(ReadVertex(record, i));
    }
    return points;
}

} // namespace Ambrel
