#include "ShpReader/format/ShapeEncoding.h"

namespace Ambrel {

namespace {

/// Appends little-endian values to a record content.
class ContentBytes {
public:
    explicit ContentBytes(std::vector<std::uint8_t>& content) : bytes(content) { bytes.clear(); }

    void Add(std::int32_t value) { POSH_WriteI32ToLittle(Extend(sizeof value), value); }
    void Add(double value) { WriteDoubleToLittle(Extend(sizeof value), value); }
    void AddRange(ValueRange const& range, double whenEmpty) {
        Add(range.IsEmpty() ? whenEmpty : range.least);
        Add(range.IsEmpty() ? whenEmpty : range.most);
    }
    std::uint8_t* Extend(std::size_t count) {
        bytes.resize(bytes.size() + count);
        return bytes.data() + bytes.size() - count;
    }

private:
    std::vector<std::uint8_t>& bytes;
};

double Bound(ValueRange const& range, double bound) noexcept {
    return range.IsEmpty() ? 0.0 : bound;
}

void AddPoint(ShapeType const& type, ShapeVertex const& vertex, ContentBytes& content) {
    content.Add(vertex.x);
    content.Add(vertex.y);
    if (type.hasZ) {
        content.Add(vertex.z);
    }
    if (type.hasMeasures) {
        content.Add(vertex.measure);
    }
}

/// A range, and one value of each vertex behind it.
void AddBlock(std::span<ShapeVertex const> vertices, double ShapeVertex::*value,
              ValueRange const& range, double whenEmpty, ContentBytes& content) {
    content.AddRange(range, whenEmpty);
    std::uint8_t* place = content.Extend(shpDoubleSize * vertices.size());
    for (ShapeVertex const& vertex : vertices) {
        WriteDoubleToLittle(place, vertex.*value);
        place += shpDoubleSize;
    }
}

void AddBoxAndCounts(ShapeType const& type, Shape const& shape, ShapeExtent const& extent,
                     ContentBytes& content) {
    content.Add(Bound(extent.x, extent.x.least));
    content.Add(Bound(extent.y, extent.y.least));
    content.Add(Bound(extent.x, extent.x.most));
    content.Add(Bound(extent.y, extent.y.most));
    if (type.layout != ShapeLayout::MultiPoint) {
        content.Add(static_cast<std::int32_t>(shape.partStarts.size()));
    }
    content.Add(static_cast<std::int32_t>(shape.vertices.size()));
    if (type.layout != ShapeLayout::MultiPoint) {
        for (std::uint32_t const start : shape.partStarts) {
            content.Add(static_cast<std::int32_t>(start));
        }
    }
}

void AddVertices(ShapeType const& type, Shape const& shape, ShapeExtent const& extent,
                 ContentBytes& content) {
    AddBoxAndCounts(type, shape, extent, content);
    std::uint8_t* place = content.Extend(shpPointSize * shape.vertices.size());
    for (ShapeVertex const& vertex : shape.vertices) {
        WriteDoubleToLittle(place, vertex.x);
        WriteDoubleToLittle(place + shpDoubleSize, vertex.y);
        place += shpPointSize;
    }
    if (type.hasZ) {
        AddBlock(shape.vertices, &ShapeVertex::z, extent.z, 0.0, content);
    }
    if (type.hasMeasures && (shape.hasMeasures || !type.hasZ)) {
        AddBlock(shape.vertices, &ShapeVertex::measure, extent.measure, shpWrittenNoData, content);
    }
}

} // namespace

void ShapeExtent::Add(std::span<ShapeVertex const> vertices) noexcept {
    for (ShapeVertex const& vertex : vertices) {
        x.Add(vertex.x);
        y.Add(vertex.y);
        z.Add(vertex.z);
        if (vertex.measure >= shpNoData) {
            measure.Add(vertex.measure);
        }
    }
}

void ShapeExtent::Add(ShapeExtent const& other) noexcept {
    x.Add(other.x);
    y.Add(other.y);
    z.Add(other.z);
    measure.Add(other.measure);
}

void EncodeShape(ShapeType const& type, Shape const& shape, ShapeExtent const& extent,
                 std::vector<std::uint8_t>& content) {
    ContentBytes bytes(content);
    if (shape.vertices.empty()) {
        bytes.Add(std::int32_t{0}); // the shape type of a null shape
        return;
    }
    bytes.Add(type.code);
    if (type.layout == ShapeLayout::Point) {
        AddPoint(type, shape.vertices.front(), bytes);
    } else {
        AddVertices(type, shape, extent, bytes);
    }
}

ShpFileHeader MakeFileHeader(ShapeType const& type, ShapeExtent const& extent) noexcept {
    ShpFileHeader header;
    header.shapeType = type.code;
    header.xMin = Bound(extent.x, extent.x.least);
    header.yMin = Bound(extent.y, extent.y.least);
    header.xMax = Bound(extent.x, extent.x.most);
    header.yMax = Bound(extent.y, extent.y.most);
    if (type.hasZ) {
        header.zMin = Bound(extent.z, extent.z.least);
        header.zMax = Bound(extent.z, extent.z.most);
    }
    if (type.hasMeasures) {
        header.mMin = Bound(extent.measure, extent.measure.least);
        header.mMax = Bound(extent.measure, extent.measure.most);
    }
    return header;
}

} // namespace Ambrel
