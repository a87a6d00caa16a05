#pragma once

#include "Ambrel/BPoint.h"

#include <atomic>
#include <cstdint>
#include <vector>

namespace Ambrel {

class EdgeTree;

/// Whether every vertex of the ring is finite. Any other ring has no inside.
bool IsFiniteRing(BPoints const& ring) noexcept;

/// Whether `point` lies inside the ring by the even-odd rule or exactly on it. Walks every edge.
/// REQUIRES: IsFiniteRing(ring).
bool IsOnOrInside(BPoints const& ring, BPoint const& point) noexcept;

/// Answers what IsOnOrInside does, and the same, for one ring without walking all of it.
///
/// The ring is cut into runs of consecutive edges, and these into runs of runs, each with its
/// bounding box. A run whose box does not hold the point is crossed by the ray from the point an
/// odd number of times exactly when its first and last vertex stand on different sides of the ray,
/// so only runs whose boxes hold the point are opened.
///
/// A ring that winds around the point, or passes it at an angle, again and again in edges longer
/// than the distance to it, has as many runs to open. When that has cost enough, a tree of the
/// edges is made that sorts them out.
class RingIndex final {
public:
    /// Rings of fewer vertices are walked faster than they are indexed.
    static constexpr std::uint64_t minVertices = 64;

    /// REQUIRES: the ring has at least minVertices. May throw std::bad_alloc.
    explicit RingIndex(BPoints const& ring);
    RingIndex(RingIndex const&) = delete;
    RingIndex& operator=(RingIndex const&) = delete;
    ~RingIndex();

    /// As IsOnOrInside; false where the ring is not finite.
    /// REQUIRES: `ring` is the one that the index was made of.
    bool IsOnOrInside(BPoints const& ring, BPoint const& point) const noexcept;

private:
    struct Box {
        double xMin;
        double yMin;
        double xMax;
        double yMax;
    };
    /// The runs of 2^shift edges.
    struct Level {
        std::uint64_t firstBox;
        std::uint64_t runCount;
        unsigned shift;
    };
    class Query;

    static Box BoxOfRun(BPoints const& ring, std::uint64_t firstEdge) noexcept;
    Box BoxOfRuns(Level const& lower, std::uint64_t firstRun) const noexcept;

    void NoteBadQuery(BPoints const& ring, std::uint64_t edgesSeen) const noexcept;

    std::vector<Box> boxes;
    std::vector<Level> levels; ///< the finest first; the last has one run
    bool finite;
    mutable std::atomic<std::uint64_t> edgesSeenInVain{0};
    /// Made and published by the query that finds it due.
    mutable std::atomic<EdgeTree const*> edgeTree{nullptr};
};

} // namespace Ambrel
