#pragma once

#include "Ambrel/BPoint.h"
#include "geometry/Ray.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Ambrel {

/// The edges of a ring, grouped by where their ends lie and not by their order along the ring. It
/// takes a hundred times as long to make as the runs of RingIndex, and 64 bytes for each edge, and
/// helps where those do not: with long edges that pass the point again and again.
///
/// A group has a box for the lower ends of its edges and one for the upper. Where every edge spans
/// the ray's Y and the point lies to one side of all lines between the two boxes, the group is
/// counted without being opened. Edges that are much alike share groups, so that a query opens few
/// for combs, stars and spirals; of edges without any order it opens a part that falls as their
/// number grows.
class EdgeTree final {
public:
    /// REQUIRES: the ring is finite and has a vertex. May throw std::bad_alloc.
    explicit EdgeTree(BPoints const& ring);

    /// Lets the ray cross all edges, or as many as it takes to see that it starts on the ring.
    void Cross(Ray& ray) const noexcept { CrossGroup({0, 0, edges.size()}, ray); }

private:
    struct Edge {
        double lowerX;
        double lowerY;
        double upperX;
        double upperY;
    };
    struct Box {
        double xMin;
        double yMin;
        double xMax;
        double yMax;
        void Cover(double x, double y) noexcept;
    };
    struct Group {
        Box lower;
        Box upper;
    };
    /// A group and its edges. Its halves have the numbers 2 * number + 1 and 2 * number + 2.
    struct Span {
        std::size_t number;
        std::size_t begin;
        std::size_t end;
        std::size_t Count() const noexcept { return end - begin; }
        std::size_t Middle() const noexcept { return begin + Count() / 2; }
        Span FirstHalf() const noexcept { return {2 * number + 1, begin, Middle()}; }
        Span SecondHalf() const noexcept { return {2 * number + 2, Middle(), end}; }
    };

    static bool IsToTheRight(Group const& group, BPoint const& point) noexcept;
    static bool IsToTheLeft(Group const& group, BPoint const& point) noexcept;
    Group Cover(Span const& span) const noexcept;
    void Build(Span const& span) noexcept;
    void CrossGroup(Span const& span, Ray& ray) const noexcept;
    void CrossEdges(Span const& span, Ray& ray) const noexcept;

    std::vector<Edge> edges;
    std::vector<Group> groups;
};

} // namespace Ambrel
