#pragma once

#include <cstddef>
#include <vector>

namespace Ambrel::Tool {

/// A place in a picture: pixels from its upper left corner, x to the right, y down.
struct Vertex {
    double x = 0.0;
    double y = 0.0;
    bool operator==(Vertex const&) const = default;
};

/// Lines or rings, one behind the other. A ring ends in its first vertex.
struct Path {
    std::vector<Vertex> vertices;
    std::vector<std::size_t> ends; ///< of each part: the vertex behind its last one

    /// Keeps the room.
    void Clear() noexcept {
        vertices.clear();
        ends.clear();
    }
    struct Mark {
        std::size_t vertices;
        std::size_t parts;
    };
    Mark Here() const noexcept { return {vertices.size(), ends.size()}; }
    /// Takes away what was added since then.
    void GoBackTo(Mark const& mark) {
        vertices.resize(mark.vertices);
        ends.resize(mark.parts);
    }
    bool IsEmpty() const noexcept { return ends.empty(); }
    std::size_t StartOfNextPart() const noexcept { return ends.empty() ? 0 : ends.back(); }
    /// Makes a part of the vertices behind the last one; a lone vertex is none.
    void EndPart() {
        std::size_t const start = StartOfNextPart();
        if (vertices.size() < start + 2) {
            vertices.resize(start);
        } else {
            ends.push_back(vertices.size());
        }
    }
    void CloseRing() {
        std::size_t const start = StartOfNextPart();
        if (vertices.size() > start && vertices.back() != vertices[start]) {
            vertices.push_back(Vertex(vertices[start]));
        }
        EndPart();
    }
    /// Calls `visit(vertices, count)` for every part.
    template <class Visit>
    void ForEachPart(Visit&& visit) const {
        std::size_t start = 0;
        for (std::size_t const end : ends) {
            visit(vertices.data() + start, end - start);
            start = end;
        }
    }
};

} // namespace Ambrel::Tool
