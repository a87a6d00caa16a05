#pragma once

#include "Ambrel/BPoint.h"
#include "Ambrel/BRect.h"
#include "Ambrel/BSharedPtr.h"
#include "Ambrel/detail/SmallBlocks.h"

#include <cstdint>

namespace Ambrel {

class BTransform;

/// What a layer consists of.
enum EGeometryClass : std::uint32_t {
    GEO_CLASS_NONE = 0,
    GEO_CLASS_POINTS = 1,
    GEO_CLASS_LINES = 2,
    GEO_CLASS_AREAS = 3,
    GEO_CLASS_MULTIPOINTS = 4,
};

/// The class of a geometry object.
enum EGeometryType : std::uint32_t {
    GEO_NONE = 0,
    GEO_POINT = 1,             ///< BPointGeo
    GEO_POLYGON = 2,           ///< BPolygon
    GEO_DONUT = 3,             ///< BDonut
    GEO_POLYLINE = 6,          ///< BPolyline
    GEO_AGGREGATE_POINT = 15,  ///< BAggregatePoint
    GEO_AGGREGATE_LINEAR = 16, ///< BAggregateLinear
    GEO_AGGREGATE_AREA = 17,   ///< BAggregateArea
};

/// Base of all geometries. The type tells the class of the object without a virtual call.
class AMBREL_API BGeometry : public detail::SmallObject {
public:
    EGeometryType type;    ///< the class of the object
    std::uint8_t is3d = 0; ///< 1 when the Z of the vertices means something

    virtual ~BGeometry();

    /// The class that a geometry of type `type` belongs to.
    static EGeometryClass ClassOf(EGeometryType type) noexcept;

    /// A copy that shares nothing with this one.
    virtual BSharedPtr<BGeometry> Clone() const = 0;
    /// The box of all vertices; its Z range is set only in three dimensions.
    virtual BBox ComputeMBB() const = 0;
    /// Moves every vertex through the transformation or, with `reverse`, back through it.
    virtual void Transform(BTransform const& transform, bool reverse) = 0;

protected:
    explicit BGeometry(EGeometryType kind) noexcept : type(kind) {}
    BGeometry(BGeometry const&) noexcept = default;
    BGeometry& operator=(BGeometry const&) noexcept = default;
};

/// A single position.
class AMBREL_API BPointGeo final : public BGeometry {
public:
    explicit BPointGeo(BPoint const& position) noexcept : BGeometry(GEO_POINT), point(position) {}
    ~BPointGeo() override;

    BPoint const& GetPoint() const noexcept { return point; }
    void SetPoint(BPoint const& position) noexcept { point = position; }
    void SetZ(double z) noexcept { point.Z = z; }

    BSharedPtr<BGeometry> Clone() const override;
    BBox ComputeMBB() const override;
    void Transform(BTransform const& transform, bool reverse) override;

private:
    BPoint point;
};

/// Base of lines.
class AMBREL_API BLinearGeo : public BGeometry {
public:
    ~BLinearGeo() override;

protected:
    using BGeometry::BGeometry;
    BLinearGeo(BLinearGeo const&) noexcept = default;
    BLinearGeo& operator=(BLinearGeo const&) noexcept = default;
};

/// One line: its vertices, in order.
class AMBREL_API BPolyline final : public BLinearGeo {
public:
    BPolyline() noexcept : BLinearGeo(GEO_POLYLINE) {}
    ~BPolyline() override;

    void AddPoint(BPoint const& point) { points.Add(point); }
    void Reserve(std::uint64_t count) { points.Reserve(count); }
    BPoints const& GetPoints() const noexcept { return points; }
    void SetPoints(BPoints const& vertices) { points = vertices; }
    void SetPoints(BPoints&& vertices) noexcept { points = std::move(vertices); }

    BSharedPtr<BGeometry> Clone() const override;
    BBox ComputeMBB() const override;
    void Transform(BTransform const& transform, bool reverse) override;

private:
    BPoints points;
};

} // namespace Ambrel
