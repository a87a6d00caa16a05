#include "formats/WkbBytes.h"

#include "formats/GeometryWalk.h"
#include "formats/Measures.h"

#include <bit>
#include <cstring>
#include <limits>

namespace Ambrel::Tool {

namespace {

static_assert(std::endian::native == std::endian::little, "what is written is as it is in memory");

template <class T>
void AppendValue(std::string& bytes, T value) {
    bytes.append(reinterpret_cast<char const*>(&value), sizeof value);
}

class WkbVisitor {
public:
    WkbVisitor(std::string& target, bool is3d, std::vector<double> vertexMeasures)
        : bytes(target), hasZ(is3d), measures(std::move(vertexMeasures)) {}

    void Begin(GeometryKind kind, std::uint64_t count) {
        bytes += '\1'; // little-endian
        AppendValue(bytes, static_cast<std::uint32_t>(kind) + (hasZ ? 1000U : 0U) +
                               (measures.empty() ? 0U : 2000U));
        if (kind != GeometryKind::Point) {
            AppendValue(bytes, static_cast<std::uint32_t>(count));
        }
    }

    void Vertices(BPoint const* first, std::uint64_t count) {
        for (std::uint64_t i = 0; i < count; ++i) {
            AppendVertex(first[i], measured + i);
        }
        measured += count;
    }

    void Ring(BPolygon const& ring, bool) {
        BPoints const& points = ring.GetPoints();
        std::uint64_t const count = points.GetCount();
        std::uint64_t const closedCount = ClosedCount(points, hasZ);
        AppendValue(bytes, static_cast<std::uint32_t>(closedCount));
        std::uint64_t const first = measured;
        Vertices(points.begin(), count);
        if (closedCount > count) {
            AppendVertex(points.GetAt(0), first);
        }
    }

    void End(GeometryKind) {}

private:
    void AppendVertex(BPoint const& point, std::uint64_t measure) {
        AppendValue(bytes, point.X);
        AppendValue(bytes, point.Y);
        if (hasZ) {
            AppendValue(bytes, point.Z);
        }
        if (!measures.empty()) {
            AppendValue(bytes, measures[measure]);
        }
    }

    std::string& bytes;
    bool hasZ;
    std::vector<double> measures;
    std::uint64_t measured = 0; ///< vertices so far
};

} // namespace

void AppendWkb(std::string& bytes, BFeature const& feature, BGeometry const& geometry,
               bool hasMeasures) {
    WkbVisitor visitor(bytes, geometry.is3d != 0,
                       hasMeasures ? MeasuresOf(feature, geometry) : std::vector<double>());
    VisitGeometry(geometry, visitor);
}

} // namespace Ambrel::Tool
