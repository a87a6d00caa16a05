#include "Ambrel/BAreaGeo.h"

#include "geometry/ExactSum.h"
#include "geometry/RingIndex.h"
#include "geometry/VertexBox.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <new>

namespace Ambrel {

namespace {

/// The sign of the ring's area without any rounding, Y up: 1 counterclockwise.
int ExactSignOfArea(BPoints const& ring) noexcept {
    ExactSum area;
    BPoint const* previous = &ring.GetLast();
    for (BPoint const& vertex : ring) {
        area.Add(previous->X, vertex.Y);
        area.Subtract(vertex.X, previous->Y);
        previous = &vertex;
    }
    return area.Sign();
}

/// The sign of the ring's area, Y up; 0 where a coordinate is not finite.
/// REQUIRES: the ring has a vertex.
int SignOfArea(BPoints const& ring) noexcept {
    // Relative to the first vertex, or large coordinates would swallow a small ring's area.
    BPoint const origin = ring.GetAt(0);
    double area = 0;
    double magnitude = 0;
    double previousX = 0;
    double previousY = 0;
    for (BPoint const& vertex : ring) {
        double const x = vertex.X - origin.X;
        double const y = vertex.Y - origin.Y;
        double const forth = previousX * y;
        double const back = x * previousY;
        area += forth - back;
        magnitude += std::abs(forth) + std::abs(back);
        previousX = x;
        previousY = y;
    }
    if (!std::isfinite(magnitude)) {
        auto const isFinite = [](BPoint const& vertex) {
            return std::isfinite(vertex.X) && std::isfinite(vertex.Y);
        };
        return std::all_of(ring.begin(), ring.end(), isFinite) ? ExactSignOfArea(ring) : 0;
    }
    // What rounding can do to the sum, with room to spare; the constant stands for underflow.
    double const error = (static_cast<double>(ring.GetCount()) + 8) *
                             std::numeric_limits<double>::epsilon() * magnitude +
                         1e-280;
    if (std::abs(area) > error) {
        return area > 0 ? 1 : -1;
    }
    return ExactSignOfArea(ring);
}

/// The sides of the box on which the vertex lies beyond it, a bit for each.
unsigned SidesBeyond(BRect const& box, BPoint const& vertex) noexcept {
    return (vertex.X < box.xMin ? 1U : 0U) | (vertex.X > box.xMax ? 2U : 0U) |
           (vertex.Y < box.yMin ? 4U : 0U) | (vertex.Y > box.yMax ? 8U : 0U);
}

/// Whether any edge of the ring may meet the box: not both of its ends lie beyond the same side.
/// REQUIRES: the ring has a vertex.
bool ComesNear(BPoints const& ring, BRect const& box) noexcept {
    bool isNear = false;
    unsigned previous = SidesBeyond(box, ring.GetLast());
    for (BPoint const& vertex : ring) {
        unsigned const sides = SidesBeyond(box, vertex);
        isNear |= (sides & previous) == 0;
        previous = sides;
    }
    return isNear;
}

/// Walks the ring for every vertex or, where no edge comes near them, so that all lie on the same
/// side of it, for one.
bool ContainsByWalking(BPoints const& ring, BPoints const& vertices) noexcept {
    if (vertices.GetCount() == 0) {
        return true;
    }
    if (ring.GetCount() == 0 || !IsFiniteRing(ring) || !IsFiniteRing(vertices)) {
        return false;
    }
    BPoint const* const end =
        ComesNear(ring, BoxOfVertices(vertices, false)) ? vertices.end() : vertices.begin() + 1;
    return std::all_of(vertices.begin(), end,
                       [&](BPoint const& vertex) { return IsOnOrInside(ring, vertex); });
}

BSharedPtr<BAreaGeo> CloneArea(BSharedPtr<BAreaGeo> const& area) {
    if (!area) {
        return {};
    }
    BSharedPtr<BGeometry> const copy = area->Clone();
    return BSharedPtr<BAreaGeo>(copy, static_cast<BAreaGeo*>(copy.Get()));
}

} // namespace

BAreaGeo::~BAreaGeo() = default;
BPolygon::~BPolygon() {
    DropIndex();
}
BDonut::~BDonut() = default;

bool BPolygon::Contains(BPoints const& vertices) const {
    RingIndex const* const ringIndex = Index();
    if (ringIndex) {
        return std::all_of(vertices.begin(), vertices.end(), [&](BPoint const& vertex) {
            return ringIndex->IsOnOrInside(points, vertex);
        });
    }
    return ContainsByWalking(points, vertices);
}

RingIndex const* BPolygon::Index() const {
    if (points.GetCount() < RingIndex::minVertices) {
        return nullptr;
    }
    RingIndex const* current = index.load(std::memory_order_acquire);
    if (current) {
        return current;
    }
    try {
        auto made = std::make_unique<RingIndex const>(points);
        // Another thread may have been first; then its index is as good.
        if (index.compare_exchange_strong(current, made.get(), std::memory_order_acq_rel,
                                          std::memory_order_acquire)) {
            current = made.release();
        }
        return current;
    } catch (std::bad_alloc const&) {
        return nullptr; // The ring can be walked without it.
    }
}

void BPolygon::DeleteIndex() const noexcept {
    delete index.exchange(nullptr, std::memory_order_acq_rel);
}

EOrientation BPolygon::GetOrientation() const {
    int const sign = points.GetCount() == 0 ? 0 : SignOfArea(points);
    if (sign == 0) {
        return ORIENTATION_NONE;
    }
    return sign < 0 ? ORIENTATION_CLOCKWISE : ORIENTATION_COUNTERCLOCKWISE;
}

void BPolygon::SetOrientation(EOrientation orientation) {
    EOrientation const own = GetOrientation();
    if (orientation == ORIENTATION_NONE || own == ORIENTATION_NONE || own == orientation) {
        return;
    }
    DropIndex();
    std::reverse(points.begin(), points.end());
}

BSharedPtr<BGeometry> BPolygon::Clone() const {
    return BSharedPtr<BGeometry>(new BPolygon(*this));
}

BBox BPolygon::ComputeMBB() const {
    return BoxOfPart(*this, is3d);
}

void BPolygon::Transform(BTransform const& transform, bool reverse) {
    BPoints moved = points; // A vertex that cannot be moved leaves the ring as it was.
    for (BPoint& vertex : moved) {
        TransformVertex(vertex, transform, reverse);
    }
    SetPoints(std::move(moved));
}

EOrientation BDonut::GetOrientation() const {
    return shell ? shell->GetOrientation() : ORIENTATION_NONE;
}

void BDonut::SetOrientation(EOrientation orientation) {
    if (shell) {
        shell->SetOrientation(orientation);
    }
}

BSharedPtr<BGeometry> BDonut::Clone() const {
    BSharedPtr<BDonut> const copy(new BDonut);
    copy->is3d = is3d;
    copy->shell = CloneArea(shell);
    copy->holes.reserve(holes.size());
    for (BSharedPtr<BAreaGeo> const& hole : holes) {
        copy->holes.push_back(CloneArea(hole));
    }
    return copy;
}

BBox BDonut::ComputeMBB() const {
    return BoxOfPart(*this, is3d);
}

void BDonut::Transform(BTransform const& transform, bool reverse) {
    if (shell) {
        shell->Transform(transform, reverse);
    }
    for (BSharedPtr<BAreaGeo> const& hole : holes) {
        if (hole) {
            hole->Transform(transform, reverse);
        }
    }
}

} // namespace Ambrel
