#pragma once

#include "Ambrel/BGeometry.h"

#include <atomic>
#include <vector>

namespace Ambrel {

/// The turning sense of a ring, with Y pointing up.
enum EOrientation : std::uint32_t {
    ORIENTATION_NONE = 0, ///< the ring has no area
    ORIENTATION_CLOCKWISE = 1,
    ORIENTATION_COUNTERCLOCKWISE = 2,
};

/// Base of areas.
class AMBREL_API BAreaGeo : public BGeometry {
public:
    ~BAreaGeo() override;

    /// The orientation of the outer ring: the sign of its area.
    virtual EOrientation GetOrientation() const = 0;
    /// Reverses the outer ring's vertices where it has the opposite orientation. A ring without
    /// area stays as it is.
    virtual void SetOrientation(EOrientation orientation) = 0;

protected:
    using BGeometry::BGeometry;
    BAreaGeo(BAreaGeo const&) noexcept = default;
    BAreaGeo& operator=(BAreaGeo const&) noexcept = default;
};

class RingIndex;

/// An area with one ring. The ring need not repeat its first vertex at its end: the edge from the
/// last vertex to the first is there either way.
class AMBREL_API BPolygon final : public BAreaGeo {
public:
    BPolygon() noexcept : BAreaGeo(GEO_POLYGON) {}
    explicit BPolygon(std::uint64_t pointCapacity) : BPolygon() { points.Reserve(pointCapacity); }
    BPolygon(BPolygon const& other) : BAreaGeo(other), points(other.points) {}
    BPolygon& operator=(BPolygon const&) = delete;
    ~BPolygon() override;

    void AddPoint(BPoint const& point) {
        DropIndex();
        points.Add(point);
    }
    BPoints const& GetPoints() const noexcept { return points; }
    void SetPoints(BPoints const& vertices) {
        DropIndex();
        points = vertices;
    }
    void SetPoints(BPoints&& vertices) noexcept {
        DropIndex();
        points = std::move(vertices);
    }
    /// Gives the vertices away and leaves the ring empty.
    BPoints TakePoints() noexcept {
        DropIndex();
        return std::exchange(points, BPoints());
    }

    /// Whether every one of the vertices lies inside the ring (even-odd rule) or on it. An empty
    /// list is contained; a ring of fewer than three vertices contains what lies on it.
    ///
    /// A ring of many vertices keeps an index of its edges from the first call on, so that asking
    /// it again does not walk the whole ring.
    bool Contains(BPoints const& vertices) const;
    /// Lets go of that index; the next call of Contains makes it again.
    /// REQUIRES: no other thread is asking.
    void DropIndex() const noexcept {
        if (index.load(std::memory_order_relaxed)) {
            DeleteIndex();
        }
    }

    EOrientation GetOrientation() const override;
    void SetOrientation(EOrientation orientation) override;
    BSharedPtr<BGeometry> Clone() const override;
    BBox ComputeMBB() const override;
    void Transform(BTransform const& transform, bool reverse) override;

private:
    void DeleteIndex() const noexcept;
    RingIndex const* Index() const;

    BPoints points;
    /// Made when it is first needed, published atomically: a shared polygon may be asked by several
    /// threads.
    mutable std::atomic<RingIndex const*> index{nullptr};
};

/// An area with an outer ring, the shell, and holes.
class AMBREL_API BDonut final : public BAreaGeo {
public:
    BDonut() noexcept : BAreaGeo(GEO_DONUT) {}
    ~BDonut() override;

    void SetShell(BSharedPtr<BAreaGeo> const& ring) { shell = ring; }
    void AddHole(BSharedPtr<BAreaGeo> const& hole) { holes.push_back(hole); }
    void ReserveHoles(std::uint64_t count) { holes.reserve(count); }
    /// The shell; empty until it is set.
    BSharedPtr<BAreaGeo> const& GetShell() const noexcept { return shell; }
    std::uint64_t GetHoleCount() const noexcept { return holes.size(); }
    /// REQUIRES: index < GetHoleCount().
    BSharedPtr<BAreaGeo> const& GetHoleAt(std::uint64_t index) const noexcept {
        return holes[index];
    }

    EOrientation GetOrientation() const override;
    void SetOrientation(EOrientation orientation) override;
    BSharedPtr<BGeometry> Clone() const override;
    BBox ComputeMBB() const override;
    void Transform(BTransform const& transform, bool reverse) override;

private:
    BSharedPtr<BAreaGeo> shell;
    std::vector<BSharedPtr<BAreaGeo>> holes;
};

} // namespace Ambrel
