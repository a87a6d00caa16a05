#pragma once

#include "ShpReader/format/ShpFormat.h"

#include <cstdint>
#include <limits>
#include <span>
#include <vector>

/// Record contents from plain values: the counterpart of PointRecord and VertexRecord, with the
/// same layouts.
namespace Ambrel {

/// Written where a vertex has no measure.
constexpr double shpWrittenNoData = -1e39;

struct ShapeVertex {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    double measure = shpWrittenNoData;
};

/// The least and the greatest of the values that it was given. NaN is no value.
struct ValueRange {
    double least = std::numeric_limits<double>::infinity();
    double most = -std::numeric_limits<double>::infinity();

    bool IsEmpty() const noexcept { return !(least <= most); }
    void Add(double value) noexcept {
        least = value < least ? value : least;
        most = value > most ? value : most;
    }
    void Add(ValueRange const& other) noexcept {
        least = other.least < least ? other.least : least;
        most = other.most > most ? other.most : most;
    }
};

/// What the vertices of a record, or of a file, cover. Measures that are "no data" do not count.
struct ShapeExtent {
    ValueRange x;
    ValueRange y;
    ValueRange z;
    ValueRange measure;

    void Add(std::span<ShapeVertex const> vertices) noexcept;
    void Add(ShapeExtent const& other) noexcept;
};

/// A shape to be encoded. A null shape has no vertices.
struct Shape {
    std::span<ShapeVertex const> vertices;
    std::span<std::uint32_t const> partStarts; ///< of polylines and polygons
    /// Whether any vertex has a measure. Without, the block of measures is left out where the type
    /// has Z.
    bool hasMeasures = false;
};

/// Replaces `content` with the record content of the shape. Where a range is empty, 0 is written
/// for a coordinate and "no data" for a measure. REQUIRES: `type` has a layout of points or
/// vertices; one vertex for a point.
void EncodeShape(ShapeType const& type, Shape const& shape, ShapeExtent const& extent,
                 std::vector<std::uint8_t>& content);

/// The main file's or the index's header around records of that extent. Empty ranges are 0.
ShpFileHeader MakeFileHeader(ShapeType const& type, ShapeExtent const& extent) noexcept;

} // namespace Ambrel
