#include "geometry/EdgeTree.h"

#include <algorithm>
#include <bit>

namespace Ambrel {

namespace {

/// Groups of no more edges are not divided.
constexpr std::size_t smallGroup = 8;

} // namespace

void EdgeTree::Box::Cover(double x, double y) noexcept {
    xMin = std::min(xMin, x);
    yMin = std::min(yMin, y);
    xMax = std::max(xMax, x);
    yMax = std::max(yMax, y);
}

EdgeTree::EdgeTree(BPoints const& ring) {
    edges.reserve(ring.GetCount());
    BPoint const* previous = &ring.GetLast();
    for (BPoint const& vertex : ring) {
        bool const upward = previous->Y <= vertex.Y;
        BPoint const& lower = upward ? *previous : vertex;
        BPoint const& upper = upward ? vertex : *previous;
        edges.push_back({lower.X, lower.Y, upper.X, upper.Y});
        previous = &vertex;
    }
    groups.resize(std::size_t{2} << std::bit_width((edges.size() - 1) / smallGroup));
    Build({0, 0, edges.size()});
}

EdgeTree::Group EdgeTree::Cover(Span const& span) const noexcept {
    Edge const& first = edges[span.begin];
    Group group{{first.lowerX, first.lowerY, first.lowerX, first.lowerY},
                {first.upperX, first.upperY, first.upperX, first.upperY}};
    for (std::size_t i = span.begin + 1; i < span.end; ++i) {
        group.lower.Cover(edges[i].lowerX, edges[i].lowerY);
        group.upper.Cover(edges[i].upperX, edges[i].upperY);
    }
    return group;
}

void EdgeTree::Build(Span const& span) noexcept {
    Group const group = Cover(span);
    groups[span.number] = group;
    if (span.Count() <= smallGroup) {
        return;
    }
    // Divided where the edges differ most.
    struct {
        double extent;
        double Edge::*coordinate;
    } const choices[] = {
        {group.lower.xMax - group.lower.xMin, &Edge::lowerX},
        {group.lower.yMax - group.lower.yMin, &Edge::lowerY},
        {group.upper.xMax - group.upper.xMin, &Edge::upperX},
        {group.upper.yMax - group.upper.yMin, &Edge::upperY},
    };
    auto const widest =
        std::max_element(std::begin(choices), std::end(choices),
                         [](auto const& a, auto const& b) { return a.extent < b.extent; });
    auto const place = [this](std::size_t i) {
        return edges.begin() + static_cast<std::ptrdiff_t>(i);
    };
    std::nth_element(place(span.begin), place(span.Middle()), place(span.end),
                     [coordinate = widest->coordinate](Edge const& a, Edge const& b) {
                         return a.*coordinate < b.*coordinate;
                     });
    Build(span.FirstHalf());
    Build(span.SecondHalf());
}

bool EdgeTree::IsToTheRight(Group const& group, BPoint const& point) noexcept {
    BPoint const ends[] = {{group.lower.xMin, group.lower.yMin},
                           {group.lower.xMin, group.lower.yMax}};
    return std::all_of(std::begin(ends), std::end(ends), [&](BPoint const& end) {
        return SideOf(end, {group.upper.xMin, group.upper.yMin}, point) > 0 &&
               SideOf(end, {group.upper.xMin, group.upper.yMax}, point) > 0;
    });
}

bool EdgeTree::IsToTheLeft(Group const& group, BPoint const& point) noexcept {
    BPoint const ends[] = {{group.lower.xMax, group.lower.yMin},
                           {group.lower.xMax, group.lower.yMax}};
    return std::all_of(std::begin(ends), std::end(ends), [&](BPoint const& end) {
        return SideOf(end, {group.upper.xMax, group.upper.yMin}, point) < 0 &&
               SideOf(end, {group.upper.xMax, group.upper.yMax}, point) < 0;
    });
}

void EdgeTree::CrossGroup(Span const& span, Ray& ray) const noexcept {
    Group const& group = groups[span.number];
    BPoint const& point = ray.Origin();
    if (point.Y < group.lower.yMin || point.Y > group.upper.yMax ||
        (point.X > group.lower.xMax && point.X > group.upper.xMax)) {
        return;
    }
    // Every edge reaches from at or below the ray to above it.
    if (group.lower.yMax <= point.Y && point.Y < group.upper.yMin) {
        if (IsToTheRight(group, point)) {
            ray.CrossTimes(span.Count());
            return;
        }
        if (IsToTheLeft(group, point)) {
            return;
        }
    }
    if (span.Count() <= smallGroup) {
        CrossEdges(span, ray);
        return;
    }
    CrossGroup(span.FirstHalf(), ray);
    if (!ray.MeetsRing()) {
        CrossGroup(span.SecondHalf(), ray);
    }
}

void EdgeTree::CrossEdges(Span const& span, Ray& ray) const noexcept {
    for (std::size_t i = span.begin; i < span.end; ++i) {
        Edge const& edge = edges[i];
        ray.Cross({edge.lowerX, edge.lowerY}, {edge.upperX, edge.upperY});
    }
}

} // namespace Ambrel
