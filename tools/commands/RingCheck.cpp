#include "commands/RingCheck.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

namespace Ambrel::Tool {

namespace {

/// Pairs of boxes that are looked at, for each edge. Rings of real maps need about ten.
constexpr std::uint64_t effortPerEdge = 256;

struct Box {
    double xMin;
    double yMin;
    double xMax;
    double yMax;

    bool Meets(Box const& other) const noexcept {
        return xMin <= other.xMax && other.xMin <= xMax && yMin <= other.yMax && other.yMin <= yMax;
    }
};

Box United(Box const& a, Box const& b) noexcept {
    return {std::min(a.xMin, b.xMin), std::min(a.yMin, b.yMin), std::max(a.xMax, b.xMax),
            std::max(a.yMax, b.yMax)};
}

/// The sign of the turn from a over b to c: positive to the left.
int Turn(BPoint const& a, BPoint const& b, BPoint const& c) noexcept {
    long double const left = static_cast<long double>(b.X - a.X) * (c.Y - a.Y);
    long double const right = static_cast<long double>(b.Y - a.Y) * (c.X - a.X);
    return left > right ? 1 : left < right ? -1 : 0;
}

/// The edges of a ring in a binary tree of boxes. Edges that follow each other lie near each other,
/// so their order along the ring is a good one.
class EdgeTree {
public:
    explicit EdgeTree(BPoints const& ring) : points(ring), edges(ring.GetCount()) {
        leaves = std::bit_ceil(std::max<std::size_t>(edges, 1));
        constexpr double none = INFINITY;
        boxes.assign(2 * leaves, {none, none, -none, -none});
        for (std::size_t edge = 0; edge < edges; ++edge) {
            BPoint const& a = Start(edge);
            BPoint const& b = End(edge);
            boxes[leaves + edge] = {std::min(a.X, b.X), std::min(a.Y, b.Y), std::max(a.X, b.X),
                                    std::max(a.Y, b.Y)};
        }
        for (std::size_t node = leaves - 1; node > 0; --node) {
            boxes[node] = United(boxes[2 * node], boxes[2 * node + 1]);
        }
        effort = effortPerEdge * (edges + 64);
    }

    Crossings Search() {
        bool const isFound = SearchWithin(1);
        return isFound ? Crossings::Found : effort == 0 ? Crossings::NotSearched : Crossings::None;
    }

private:
    BPoint const& Start(std::size_t edge) const { return points.GetAt(edge); }
    BPoint const& End(std::size_t edge) const {
        return points.GetAt(edge + 1 < edges ? edge + 1 : 0);
    }

    bool SearchWithin(std::size_t node) {
        if (node >= leaves || effort == 0) {
            return false;
        }
        return SearchBetween(2 * node, 2 * node + 1) || SearchWithin(2 * node) ||
               SearchWithin(2 * node + 1);
    }

    /// Nodes of one level.
    bool SearchBetween(std::size_t a, std::size_t b) {
        if (effort == 0) {
            return false;
        }
        --effort;
        if (!boxes[a].Meets(boxes[b])) {
            return false;
        }
        if (a >= leaves) {
            return Cross(a - leaves, b - leaves);
        }
        return SearchBetween(2 * a, 2 * b) || SearchBetween(2 * a, 2 * b + 1) ||
               SearchBetween(2 * a + 1, 2 * b) || SearchBetween(2 * a + 1, 2 * b + 1);
    }

    bool Cross(std::size_t a, std::size_t b) const {
        return Turn(Start(a), End(a), Start(b)) * Turn(Start(a), End(a), End(b)) < 0 &&
               Turn(Start(b), End(b), Start(a)) * Turn(Start(b), End(b), End(a)) < 0;
    }

    BPoints const& points;
    std::size_t edges;
    std::size_t leaves;
    std::vector<Box> boxes; ///< of node n: its children are 2n and 2n + 1; the last are the edges
    std::uint64_t effort;
};

} // namespace

Crossings FindCrossings(BPoints const& ring) {
    constexpr std::uint64_t leastCrossing = 4;
    return ring.GetCount() < leastCrossing ? Crossings::None : EdgeTree(ring).Search();
}

bool HasNoArea(BPoints const& ring) {
    std::uint64_t const count = ring.GetCount();
    if (count < 3) {
        return true;
    }
    BPoint const& origin = ring.GetAt(0); // far from 0, products lose what matters
    long double doubled = 0.0L;
    for (std::uint64_t i = 0; i < count; ++i) {
        BPoint const& a = ring.GetAt(i);
        BPoint const& b = ring.GetAt(i + 1 < count ? i + 1 : 0);
        doubled += static_cast<long double>(a.X - origin.X) * (b.Y - origin.Y) -
                   static_cast<long double>(b.X - origin.X) * (a.Y - origin.Y);
    }
    return doubled == 0.0L;
}

} // namespace Ambrel::Tool
