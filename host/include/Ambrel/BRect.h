#pragma once

#include "Ambrel/BPoint.h"

#include <limits>

namespace Ambrel {

/// A rectangle in map units. An empty one has its minimum above its maximum on both axes.
class AMBREL_API BRect {
public:
    double xMin = std::numeric_limits<double>::max();
    double xMax = std::numeric_limits<double>::lowest();
    double yMin = std::numeric_limits<double>::max();
    double yMax = std::numeric_limits<double>::lowest();

    /// The empty rectangle.
    BRect() noexcept = default;
    BRect(double xMin, double yMin, double xMax, double yMax) noexcept
        : xMin(xMin), xMax(xMax), yMin(yMin), yMax(yMax) {}
    BRect(BRect const&) noexcept = default;
    BRect& operator=(BRect const&) noexcept = default;
    virtual ~BRect();

    /// Grows the rectangle to cover the point or the other rectangle. The empty rectangle takes the
    /// other's bounds as they are; after that, a bound that is not a number covers nothing.
    void Union(BPoint const& point) noexcept;
    void Union(BRect const& other) noexcept;
    /// As a default-constructed rectangle is.
    bool IsEmpty() const noexcept;

    /// Whether the two rectangles share a point, edges included.
    virtual bool Meets(BRect const& other) const noexcept;
};

/// A rectangle with a Z range, which is empty (minimum above maximum) where nothing has set it.
class AMBREL_API BBox final : public BRect {
public:
    double zMin = std::numeric_limits<double>::max();
    double zMax = std::numeric_limits<double>::lowest();

    BBox() noexcept = default;
    explicit BBox(BRect const& rectangle) noexcept : BRect(rectangle) {}
    BBox(BBox const&) noexcept = default;
    BBox& operator=(BBox const&) noexcept = default;
    ~BBox() override;

    using BRect::Union;
    /// Grows the box, its Z range too.
    void Union(BBox const& other) noexcept;
};

} // namespace Ambrel
