#pragma once

#include "Ambrel/BPoint.h"
#include "ShpReader/format/ShpFormat.h"

namespace Ambrel {

/// Vertex `index` of the record; Z 0 where the record has none.
inline BPoint ReadVertex(VertexRecord const& record, std::size_t index) noexcept {
    return {record.X(index), record.Y(index), record.HasZ() ? record.Z(index) : 0.0};
}

/// `count` vertices from `first` on, with room for `extra` more.
inline BPoints ReadVertices(VertexRecord const& record, std::size_t first, std::size_t count,
                            std::size_t extra = 0) {
    BPoints points;
    points.Reserve(count + extra);
    BPoint* const vertices = points.Extend(count);
    for (std::size_t i = 0; i < count; ++i) {
        vertices[i] = {record.X(first + i), record.Y(first + i)};
    }
    for (std::size_t i = 0; record.HasZ() && i < count; ++i) {
        vertices[i].Z = record.Z(first + i);
    }
    return points;
}

} // namespace Ambrel
