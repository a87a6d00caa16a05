// Lines by the method of Liang and Barsky, rings by that of Sutherland and Hodgman.

#include "drawing/Clipping.h"

#include <algorithm>
#include <utility>

namespace Ambrel::Tool {

namespace {

Vertex Between(Vertex const& from, Vertex const& to, double share) {
    return {from.x + (to.x - from.x) * share, from.y + (to.y - from.y) * share};
}

/// The part of a segment that is inside so far, as shares of its length.
struct Inside {
    double from = 0.0;
    double to = 1.0;

    /// Keeps what lies behind a bound: `start` behind it at the segment's start (negative: before
    /// it), growing by `growth` on the way. False where nothing is left.
    bool KeepBehind(double start, double growth) noexcept {
        if (growth == 0.0) {
            return start >= 0.0;
        }
        double const share = -start / growth;
        (growth > 0.0 ? from : to) = growth > 0.0 ? std::max(from, share) : std::min(to, share);
        return from <= to;
    }
};

/// False where the segment lies outside.
bool ClipSegment(Vertex const& a, Vertex const& b, PixelBox const& box, Inside& inside) {
    double const dx = b.x - a.x;
    double const dy = b.y - a.y;
    return inside.KeepBehind(a.x - box.left, dx) && inside.KeepBehind(box.right - a.x, -dx) &&
           inside.KeepBehind(a.y - box.top, dy) && inside.KeepBehind(box.bottom - a.y, -dy);
}

/// Signed distances from the box's four edges, inwards.
double DistanceFrom(int edge, Vertex const& vertex, PixelBox const& box) {
    switch (edge) {
    case 0: return vertex.x - box.left;
    case 1: return box.right - vertex.x;
    case 2: return vertex.y - box.top;
    default: return box.bottom - vertex.y;
    }
}

void ClipRingAt(int edge, std::vector<Vertex> const& ring, PixelBox const& box,
                std::vector<Vertex>& clipped) {
    clipped.clear();
    for (std::size_t i = 0; i < ring.size(); ++i) {
        Vertex const& from = ring[i == 0 ? ring.size() - 1 : i - 1];
        Vertex const& to = ring[i];
        double const before = DistanceFrom(edge, from, box);
        double const behind = DistanceFrom(edge, to, box);
        if ((before < 0.0) != (behind < 0.0)) {
            clipped.push_back(Between(from, to, before / (before - behind)));
        }
        if (behind >= 0.0) {
            clipped.push_back(to);
        }
    }
}

} // namespace

void ClipLines(Path const& lines, PixelBox const& box, Path& clipped) {
    lines.ForEachPart([&](Vertex const* vertices, std::size_t count) {
        bool isGoingOn = false;
        for (std::size_t i = 1; i < count; ++i) {
            Vertex const& from = vertices[i - 1];
            Vertex const& to = vertices[i];
            Inside inside;
            bool const isSeen = ClipSegment(from, to, box, inside);
            if (isGoingOn && (!isSeen || inside.from > 0.0)) {
                clipped.EndPart();
                isGoingOn = false;
            }
            if (!isSeen) {
                continue;
            }
            if (!isGoingOn) {
                clipped.vertices.push_back(Between(from, to, inside.from));
            }
            clipped.vertices.push_back(inside.to < 1.0 ? Between(from, to, inside.to) : to);
            isGoingOn = true;
        }
        clipped.EndPart();
    });
}

void ClipRings(Path const& rings, PixelBox const& box, Path& clipped) {
    std::vector<Vertex> ring;
    std::vector<Vertex> rest;
    rings.ForEachPart([&](Vertex const* vertices, std::size_t count) {
        ring.assign(vertices, vertices + count - 1);
        for (int edge = 0; edge < 4; ++edge) {
            ClipRingAt(edge, ring, box, rest);
            std::swap(ring, rest);
        }
        clipped.vertices.insert(clipped.vertices.end(), ring.begin(), ring.end());
        clipped.CloseRing();
    });
}

} // namespace Ambrel::Tool
