#include "RingIndex.h"

#include "ExactSum.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Ambrel {

namespace {

constexpr unsigned edgesPerRunShift = 3;
constexpr unsigned fanOutShift = 3;
constexpr std::uint64_t edgesPerRun = std::uint64_t{1} << edgesPerRunShift;
constexpr std::uint64_t fanOut = std::uint64_t{1} << fanOutShift;

/// On which side of the line from `a` to `b` `point` lies: 1 left, -1 right, 0 exactly on it.
int ExactSideOf(BPoint const& a, BPoint const& b, BPoint const& point) noexcept {
    ExactSum sum;
    sum.Add(a.X, b.Y);
    sum.Subtract(a.X, point.Y);
    sum.Subtract(point.X, b.Y);
    sum.Subtract(a.Y, b.X);
    sum.Add(a.Y, point.X);
    sum.Add(point.Y, b.X);
    return sum.Sign();
}

/// As ExactSideOf: rounded arithmetic where its error can not change the sign.
int SideOf(BPoint const& a, BPoint const& b, BPoint const& point) noexcept {
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

/// The ray from a point to the right, and how often it crosses the edges of a ring.
class Ray final {
public:
    explicit Ray(BPoint const& newOrigin) noexcept : origin(newOrigin) {}

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

bool IsFinite(BPoint const& point) noexcept {
    return std::isfinite(point.X) && std::isfinite(point.Y);
}

BPoint const& EndOfEdge(BPoints const& ring, std::uint64_t edge) noexcept {
    return ring.GetAt(edge + 1 == ring.GetCount() ? 0 : edge + 1);
}

std::uint64_t RunsFor(std::uint64_t count, unsigned shift) noexcept {
    return ((count - 1) >> shift) + 1;
}

} // namespace

bool IsFiniteRing(BPoints const& ring) noexcept {
    return std::all_of(ring.begin(), ring.end(), IsFinite);
}

bool IsOnOrInside(BPoints const& ring, BPoint const& point) noexcept {
    if (ring.GetCount() == 0 || !IsFinite(point)) {
        return false;
    }
    Ray ray(point);
    BPoint const* previous = &ring.GetLast();
    for (BPoint const& vertex : ring) {
        ray.Cross(*previous, vertex);
        if (ray.MeetsRing()) {
            return true;
        }
        previous = &vertex;
    }
    return ray.IsOnOrInside();
}

RingIndex::RingIndex(BPoints const& ring) : finite(IsFiniteRing(ring)) {
    if (!finite) {
        return;
    }
    std::uint64_t total = 0;
    std::uint64_t runs = RunsFor(ring.GetCount(), edgesPerRunShift);
    for (unsigned shift = edgesPerRunShift;; shift += fanOutShift) {
        levels.push_back({total, runs, shift});
        total += runs;
        if (runs == 1) {
            break;
        }
        runs = RunsFor(runs, fanOutShift);
    }
    boxes.reserve(total);
    for (std::uint64_t run = 0; run < levels[0].runCount; ++run) {
        boxes.push_back(BoxOfRun(ring, run << edgesPerRunShift));
    }
    for (std::size_t level = 1; level < levels.size(); ++level) {
        for (std::uint64_t run = 0; run < levels[level].runCount; ++run) {
            boxes.push_back(BoxOfRuns(levels[level - 1], run << fanOutShift));
        }
    }
}

RingIndex::Box RingIndex::BoxOfRun(BPoints const& ring, std::uint64_t firstEdge) noexcept {
    std::uint64_t const end = std::min(firstEdge + edgesPerRun, ring.GetCount());
    BPoint const& last = EndOfEdge(ring, end - 1);
    Box box{last.X, last.Y, last.X, last.Y};
    for (std::uint64_t i = firstEdge; i < end; ++i) {
        BPoint const& vertex = ring.GetAt(i);
        box.xMin = std::min(box.xMin, vertex.X);
        box.yMin = std::min(box.yMin, vertex.Y);
        box.xMax = std::max(box.xMax, vertex.X);
        box.yMax = std::max(box.yMax, vertex.Y);
    }
    return box;
}

RingIndex::Box RingIndex::BoxOfRuns(Level const& lower, std::uint64_t firstRun) const noexcept {
    std::uint64_t const end = std::min(firstRun + fanOut, lower.runCount);
    Box box = boxes[lower.firstBox + firstRun];
    for (std::uint64_t run = firstRun + 1; run < end; ++run) {
        Box const& part = boxes[lower.firstBox + run];
        box.xMin = std::min(box.xMin, part.xMin);
        box.yMin = std::min(box.yMin, part.yMin);
        box.xMax = std::max(box.xMax, part.xMax);
        box.yMax = std::max(box.yMax, part.yMax);
    }
    return box;
}

/// One point's way down the levels.
class RingIndex::Query final {
public:
    Query(RingIndex const& newIndex, BPoints const& newRing, BPoint const& newPoint) noexcept
        : index(newIndex), ring(newRing), point(newPoint), ray(newPoint) {}

    bool Run() noexcept {
        CrossRun(index.levels.size() - 1, 0);
        return ray.IsOnOrInside();
    }

private:
    void CrossRun(std::size_t levelNumber, std::uint64_t run) noexcept {
        Level const& level = index.levels[levelNumber];
        Box const& box = index.boxes[level.firstBox + run];
        if (point.Y < box.yMin || point.Y > box.yMax || point.X > box.xMax) {
            return;
        }
        std::uint64_t const firstEdge = run << level.shift;
        if (point.X < box.xMin) {
            std::uint64_t const end =
                std::min(firstEdge + (std::uint64_t{1} << level.shift), ring.GetCount());
            ray.CrossToTheRight(ring.GetAt(firstEdge), EndOfEdge(ring, end - 1));
        } else if (levelNumber == 0) {
            CrossEdges(firstEdge);
        } else {
            CrossParts(levelNumber - 1, run << fanOutShift);
        }
    }

    void CrossParts(std::size_t levelNumber, std::uint64_t firstRun) noexcept {
        std::uint64_t const end = std::min(firstRun + fanOut, index.levels[levelNumber].runCount);
        for (std::uint64_t run = firstRun; run < end && !ray.MeetsRing(); ++run) {
            CrossRun(levelNumber, run);
        }
    }

    void CrossEdges(std::uint64_t firstEdge) noexcept {
        std::uint64_t const end = std::min(firstEdge + edgesPerRun, ring.GetCount());
        for (std::uint64_t edge = firstEdge; edge < end; ++edge) {
            ray.Cross(ring.GetAt(edge), EndOfEdge(ring, edge));
        }
    }

    RingIndex const& index;
    BPoints const& ring;
    BPoint const& point;
    Ray ray;
};

bool RingIndex::IsOnOrInside(BPoints const& ring, BPoint const& point) const noexcept {
    return finite && IsFinite(point) && Query(*this, ring, point).Run();
}

} // namespace Ambrel
