#pragma once

#include "Ambrel/BPoint.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace Ambrel {

/// On which side of the line from `a` to `b` `point` lies: 1 left, -1 right, 0 exactly on it.
/// Without any rounding. REQUIRES: all are finite.
int ExactSideOf(BPoint const& a, BPoint const& b, BPoint const& point) noexcept;

/// As ExactSideOf: by rounded arithmetic where its error cannot change the sign.
inline int SideOf(BPoint const& a, BPoint const& b, BPoint const& point) noexcept {
    // Two differences, a product each and their difference: no more than (3 + 16u)u of the
    // products' magnitudes, with u = 2^-53. Where products underflow, the error is far below
    // `underflow`; where they overflow, the comparison fails.
    constexpr double unit = std::numeric_limits<double>::epsilon() / 2;
    constexpr double relativeError = (3 + 16 * unit) * unit;
    constexpr double underflow = 1e-290;
    double const left = (a.X - point.X) * (b.Y - point.Y);
    double const right = (a.Y - point.Y) * (b.X - point.X);
    double const difference = left - right;
    double const bound = relativeError * (std::abs(left) + std::abs(right)) + underflow;
    if (std::abs(difference) > bound) {
        return difference > 0 ? 1 : -1;
    }
    return ExactSideOf(a, b, point);
}

/// The ray from a point to the right, and how often it crosses the edges of a ring. In whatever
/// order and direction the edges come, the answer is the same.
class Ray final {
public:
    explicit Ray(BPoint const& start) noexcept : origin(start) {}

    /// Counts the edge's crossing. An edge owns its lower end, so that a vertex counts once.
    void Cross(BPoint const& a, BPoint const& b) noexcept {
        if ((origin.Y > a.Y && origin.Y > b.Y) || (origin.Y < a.Y && origin.Y < b.Y) ||
            (origin.X > a.X && origin.X > b.X)) {
            return;
        }
        if (origin.X < a.X && origin.X < b.X) {
            CrossToTheRight(a, b);
            return;
        }
        CrossNear(a, b);
    }

    /// Counts the crossings of a chain of edges from `a` to `b` that lies wholly to the right.
    void CrossToTheRight(BPoint const& a, BPoint const& b) noexcept {
        odd ^= IsAbove(a) != IsAbove(b);
    }

    /// Counts so many edges, each of which the ray crosses.
    void CrossTimes(std::uint64_t count) noexcept { odd ^= count % 2 != 0; }

    BPoint const& Origin() const noexcept { return origin; }
    bool MeetsRing() const noexcept { return meetsRing; }
    bool IsOnOrInside() const noexcept { return meetsRing || odd; }

private:
    bool IsAbove(BPoint const& vertex) const noexcept { return vertex.Y > origin.Y; }

    /// An edge whose bounding box holds the origin.
    void CrossNear(BPoint const& a, BPoint const& b) noexcept {
        int const side = SideOf(a, b, origin);
        if (side == 0) {
            meetsRing = true;
        } else if (IsAbove(a) != IsAbove(b)) {
            odd ^= IsAbove(b) == (side > 0);
        }
    }

    BPoint const origin;
    bool odd = false;
    bool meetsRing = false;
};

} // namespace Ambrel
