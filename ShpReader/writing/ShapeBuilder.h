#pragma once

#include "Ambrel/BAggregate.h"
#include "ShpReader/format/ShapeEncoding.h"

#include <vector>

namespace Ambrel {

/// The vertices of a geometry in the order of a record: rings closed and turned, each measure with
/// its vertex. Keeps its buffers from geometry to geometry.
class ShapeBuilder {
public:
    /// `type` must outlive this object.
    explicit ShapeBuilder(ShapeType const& shapeType) noexcept : type(shapeType) {}

    /// Takes the geometry in, null for none. `measures`: one for each vertex, in the order of the
    /// geometry's; what is missing at the end is "no data". Returns false for a geometry of another
    /// kind than the type's.
    bool Build(BGeometry const* geometry, std::vector<double> const& measures);

    /// Valid until the next Build. Lines and rings without vertices are left out.
    Shape GetShape() const noexcept { return {vertices, partStarts, hasMeasures}; }

private:
    bool AddGeometry(BGeometry const& geometry);
    bool AddPoints(BGeometry const& geometry);
    bool AddLines(BGeometry const& geometry);
    bool AddAreas(BGeometry const& geometry);
    bool AddDonut(BDonut const& donut);
    bool AddRing(BAreaGeo const* area, EOrientation orientation);
    void AddPart(BPoints const& points);
    void AddVertex(BPoint const& point);
    bool IsOpenFrom(std::size_t first) const noexcept;

    ShapeType const& type;
    std::vector<double> const* givenMeasures = nullptr;
    std::size_t measuresTaken = 0;
    std::vector<ShapeVertex> vertices;
    std::vector<std::uint32_t> partStarts;
    bool hasMeasures = false;
};

} // namespace Ambrel
