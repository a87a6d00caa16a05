#include "geometry/RingIndex.h"

#include "geometry/EdgeTree.h"
#include "geometry/ExactSum.h"
#include "geometry/Ray.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

namespace Ambrel {

namespace {

constexpr unsigned edgesPerRunShift = 3;
constexpr unsigned fanOutShift = 3;
constexpr std::uint64_t edgesPerRun = std::uint64_t{1} << edgesPerRunShift;
constexpr std::uint64_t fanOut = std::uint64_t{1} << fanOutShift;

/// A query that looks at no more edges than so is a good one.
constexpr std::uint64_t goodQuery = 256;
/// So often must queries that are not good have walked the whole ring, in sum, before the tree of
/// its edges is made; by then they have cost about as much as making it does.
constexpr std::uint64_t walksBeforeTree = 64;

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

namespace {

/// The rounding error of `a - b`, exactly.
double ErrorOfDifference(double a, double b) noexcept {
    double const difference = a - b;
    double const bPart = a - difference;
    double const aPart = difference + bPart;
    return (a - aPart) + (bPart - b);
}

/// Whether the error of the product of two factors is a number of its own: nothing underflows or
/// overflows.
bool IsSplittable(double product) noexcept {
    return std::abs(product) > 1e-250 && std::abs(product) < 1e300;
}

int SignOf(double value) noexcept {
    return value > 0 ? 1 : value < 0 ? -1 : 0;
}

int SideInFull(BPoint const& a, BPoint const& b, BPoint const& point) noexcept {
    ExactSum sum;
    sum.Add(a.X, b.Y);
    sum.Subtract(a.X, point.Y);
    sum.Subtract(point.X, b.Y);
    sum.Subtract(a.Y, b.X);
    sum.Add(a.Y, point.X);
    sum.Add(point.Y, b.X);
    return sum.Sign();
}

} // namespace

int ExactSideOf(BPoint const& a, BPoint const& b, BPoint const& point) noexcept {
    double const ax = a.X - point.X;
    double const ay = a.Y - point.Y;
    double const bx = b.X - point.X;
    double const by = b.Y - point.Y;
    // Zeros are common: edges along an axis, and points that are vertices.
    bool const noLeft = ax == 0 || by == 0;
    bool const noRight = ay == 0 || bx == 0;
    if (noLeft && noRight) {
        return 0;
    }
    double const left = ax * by;
    double const right = ay * bx;
    // Points on an edge of a coarse grid: where all differences are exact, two products are left.
    bool const exactDifferences =
        ErrorOfDifference(a.X, point.X) == 0 && ErrorOfDifference(a.Y, point.Y) == 0 &&
        ErrorOfDifference(b.X, point.X) == 0 && ErrorOfDifference(b.Y, point.Y) == 0;
    if (!exactDifferences || !IsSplittable(left) || !IsSplittable(right)) {
        return SideInFull(a, b, point);
    }
    if (left != right) {
        return SignOf(left - right);
    }
    return SignOf(std::fma(ax, by, -left) - std::fma(ay, bx, -right));
}

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

RingIndex::~RingIndex() {
    delete edgeTree.load(std::memory_order_acquire);
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
    Query(RingIndex const& edges, BPoints const& vertices, BPoint const& position) noexcept
        : index(edges), ring(vertices), point(position), ray(position) {}

    bool Run() noexcept {
        CrossRun(index.levels.size() - 1, 0);
        return ray.IsOnOrInside();
    }
    std::uint64_t EdgesSeen() const noexcept { return edgesSeen; }

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
        edgesSeen += end - firstEdge;
        for (std::uint64_t edge = firstEdge; edge < end; ++edge) {
            ray.Cross(ring.GetAt(edge), EndOfEdge(ring, edge));
        }
    }

    RingIndex const& index;
    BPoints const& ring;
    BPoint const& point;
    Ray ray;
    std::uint64_t edgesSeen = 0;
};

bool RingIndex::IsOnOrInside(BPoints const& ring, BPoint const& point) const noexcept {
    if (!finite || !IsFinite(point)) {
        return false;
    }
    if (EdgeTree const* const tree = edgeTree.load(std::memory_order_acquire)) {
        Ray ray(point);
        tree->Cross(ray);
        return ray.IsOnOrInside();
    }
    Query query(*this, ring, point);
    bool const result = query.Run();
    if (query.EdgesSeen() > goodQuery) {
        NoteBadQuery(ring, query.EdgesSeen());
    }
    return result;
}

void RingIndex::NoteBadQuery(BPoints const& ring, std::uint64_t edgesSeen) const noexcept {
    std::uint64_t const sum = edgesSeenInVain.fetch_add(edgesSeen, std::memory_order_relaxed);
    if ((sum + edgesSeen) / ring.GetCount() < walksBeforeTree) {
        return;
    }
    // Other threads carry on meanwhile, and wait as long again before they try themselves.
    edgesSeenInVain.store(0, std::memory_order_relaxed);
    try {
        auto made = std::make_unique<EdgeTree const>(ring);
        EdgeTree const* expected = nullptr;
        if (edgeTree.compare_exchange_strong(expected, made.get(), std::memory_order_acq_rel)) {
            made.release();
        }
    } catch (std::bad_alloc const&) {
        // The answers are the same without it.
    }
}

} // namespace Ambrel
