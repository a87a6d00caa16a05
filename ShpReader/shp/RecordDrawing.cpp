// Drawing records straight from their bytes: no feature and no geometry is made.

#include "ShpReader/shp/BShpFile.h"

#include "Ambrel/BException.h"
#include "Ambrel/BRenderer.h"
#include "ShpReader/Report.h"
#include "ShpReader/shp/RecordAccess.h"

#include <cmath>
#include <limits>
#include <vector>

namespace Ambrel {

namespace {

using DrawParts = bool (BRenderer::*)(Gdiplus::Point const*, int, int const*, int) const;

/// Truncated toward zero. What lies outside the range of the integers becomes the nearest of them,
/// what is no number 0.
std::int32_t TruncateToInteger(double value) noexcept {
    constexpr double least = std::numeric_limits<std::int32_t>::min();
    constexpr double most = std::numeric_limits<std::int32_t>::max();
    if (std::isnan(value)) {
        return 0;
    }
    return static_cast<std::int32_t>(value < least ? least : value > most ? most : value);
}

/// Rounded to the nearest float; a finite value beyond the range of floats becomes the last of
/// them.
float RoundToFloat(double value) noexcept {
    constexpr double most = std::numeric_limits<float>::max();
    if (std::isfinite(value) && std::fabs(value) > most) {
        return static_cast<float>(std::copysign(most, value));
    }
    return static_cast<float>(value);
}

Gdiplus::PointF ConvertPoint(double x, double y, BRenderer const& renderer) {
    renderer.ConvertMapToWindow(x, y);
    return {RoundToFloat(x), RoundToFloat(y)};
}

std::vector<Gdiplus::Point> ConvertPoints(VertexRecord const& record, BRenderer const& renderer) {
    std::vector<Gdiplus::Point> points(record.PointCount());
    for (std::size_t i = 0; i < points.size(); ++i) {
        double x = record.X(i);
        double y = record.Y(i);
        renderer.ConvertMapToWindow(x, y);
        points[i] = {TruncateToInteger(x), TruncateToInteger(y)};
    }
    return points;
}

RecordFault DrawPoint(RecordContent content, BRenderer const& renderer) {
    PointRecord const record = PointRecord::Decode(content, false, false);
    if (record.fault == RecordFault::None) {
        renderer.DrawPoint(ConvertPoint(record.x, record.y, renderer));
    }
    return record.fault;
}

RecordFault DrawMultiPoint(RecordContent content, BRenderer const& renderer) {
    VertexRecord const record = VertexRecord::OfMultiPoint(content, false, false);
    if (record.Fault() != RecordFault::None) {
        return record.Fault();
    }
    std::vector<Gdiplus::PointF> points(record.PointCount());
    for (std::size_t i = 0; i < points.size(); ++i) {
        points[i] = ConvertPoint(record.X(i), record.Y(i), renderer);
    }
    renderer.DrawPoints(points.data(), static_cast<int>(points.size()));
    return RecordFault::None;
}

/// The renderer gets the part starts as they are stored; but that of a single part is no position,
/// and where it lies outside the vertices, it is 0.
std::vector<int> PartStarts(VertexRecord const& record) {
    std::vector<int> starts(record.PartCount());
    for (std::size_t part = 0; part < starts.size(); ++part) {
        starts[part] = record.PartStart(part);
    }
    if (starts.size() == 1 && static_cast<std::size_t>(starts[0]) >= record.PointCount()) {
        starts[0] = 0;
    }
    return starts;
}

RecordFault DrawWithParts(RecordContent content, BRenderer const& renderer, DrawParts draw) {
    VertexRecord const record = VertexRecord::OfParts(content, false, false);
    if (record.Fault() != RecordFault::None) {
        return record.Fault();
    }
    std::vector<int> const partStarts = PartStarts(record);
    std::vector<Gdiplus::Point> const points = ConvertPoints(record, renderer);
    (renderer.*draw)(points.data(), static_cast<int>(points.size()), partStarts.data(),
                     static_cast<int>(partStarts.size()));
    return RecordFault::None;
}

/// Draws one record; returns why it could not.
RecordFault DrawRecord(RecordContent content, BRenderer const& renderer) {
    if (!content.Holds(0, shapeTypeSize)) {
        return content.WhyShort();
    }
    std::int32_t const code = ReadShapeType(content);
    if (ShapeType const* const type = FindShapeType(code)) {
        switch (type->layout) {
        case ShapeLayout::Null: return RecordFault::None;
        case ShapeLayout::Point: return DrawPoint(content, renderer);
        case ShapeLayout::MultiPoint: return DrawMultiPoint(content, renderer);
        case ShapeLayout::Polyline:
            return DrawWithParts(content, renderer, &BRenderer::DrawPolyline);
        case ShapeLayout::Polygon: return DrawWithParts(content, renderer, &BRenderer::DrawPolygon);
        case ShapeLayout::MultiPatch: break;
        }
    }
    throw BUnknownGeometryException("BShpFile::Read", BString::Format("Record type=%i", code));
}

} // namespace

void BShpFile::RenderFeatures(std::vector<std::uint64_t> const& indexes,
                              BRenderer const* renderer) const {
    constexpr char const* operation = "BShpFile::RenderFeatures";
    RequireMode(readMode, operation);
    RecordAccess access(RequireRecords(operation), {false}, RecordAccess::scanPiece);
    for (std::uint64_t const index : indexes) {
        RequireIndex(index, operation);
        auto const record = static_cast<std::uint32_t>(index);
        if (IsLeftOut(record)) {
            continue;
        }
        RecordFault const fault = DrawRecord(access.ReadRecord(record), *renderer);
        if (fault != RecordFault::None) {
            Report(FindingOf(fault), fileName, record);
        }
    }
}

} // namespace Ambrel
