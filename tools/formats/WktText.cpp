#include "formats/WktText.h"

#include "formats/CoordinateText.h"
#include "formats/GeometryWalk.h"
#include "formats/Measures.h"

#include <algorithm>
#include <vector>

namespace Ambrel::Tool {

namespace {

/// Vertices separated by commas, lists in parentheses, and the kind's name before the outermost.
class WktVisitor {
public:
    WktVisitor(std::string& target, bool is3d, std::vector<double> vertexMeasures,
               std::optional<int> precision)
        : text(target), coordinates(target, ' ', precision), hasZ(is3d),
          measures(std::move(vertexMeasures)) {}

    void Begin(GeometryKind kind, std::uint64_t count) {
        if (depth++ == 0) {
            AppendTag(kind, count == 0);
        } else {
            Separate();
        }
        if (count > 0) {
            text += '(';
        } else if (depth > 1) {
            text += "EMPTY";
        }
        isEmpty = count == 0;
    }

    void Vertices(BPoint const* first, std::uint64_t count) {
        for (std::uint64_t i = 0; i < count; ++i) {
            AppendVertex(first[i], measured + i);
        }
        measured += count;
    }

    void Ring(BPolygon const& ring, bool) {
        BPoints const& points = ring.GetPoints();
        Separate();
        text += '(';
        std::uint64_t const first = measured;
        Vertices(points.begin(), points.GetCount());
        if (ClosedCount(points, hasZ) > points.GetCount()) {
            AppendVertex(points.GetAt(0), first);
        }
        text += ')';
    }

    void End(GeometryKind) {
        --depth;
        if (!isEmpty) {
            text += ')';
        }
        isEmpty = false;
    }

private:
    void AppendTag(GeometryKind kind, bool isEmptyOne) {
        for (char const* letter = NameOf(kind); *letter; ++letter) {
            text += static_cast<char>(*letter & ~0x20);
        }
        if (hasZ || !measures.empty()) {
            text += ' ';
            text += hasZ ? "Z" : "";
            text += measures.empty() ? "" : "M";
        }
        text += isEmptyOne ? " EMPTY" : " ";
    }

    void AppendVertex(BPoint const& point, std::uint64_t measure) {
        Separate();
        coordinates.Append(point, hasZ);
        if (!measures.empty()) {
            text += ' ';
            coordinates.Append(IsNoData(measures[measure]) ? std::nan("") : measures[measure]);
        }
    }

    void Separate() {
        if (text.back() != '(') {
            text += ", ";
        }
    }

    std::string& text;
    CoordinateText coordinates;
    bool hasZ;
    std::vector<double> measures;
    std::uint64_t measured = 0; ///< vertices so far
    int depth = 0;
    bool isEmpty = false; ///< the geometry that was begun last
};

} // namespace

void AppendWkt(std::string& text, BFeature const& feature, BGeometry const& geometry,
               bool hasMeasures, std::optional<int> precision) {
    WktVisitor visitor(text, geometry.is3d != 0,
                       hasMeasures ? MeasuresOf(feature, geometry) : std::vector<double>(),
                       precision);
    VisitGeometry(geometry, visitor);
}

} // namespace Ambrel::Tool
