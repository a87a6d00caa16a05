#include "formats/CsvWriter.h"

#include "formats/ColumnNames.h"
#include "formats/GeometryWalk.h"
#include "formats/OutputFile.h"
#include "formats/TextFormat.h"

#include <cmath>

namespace Ambrel::Tool {

namespace {

constexpr char const* recordEnd = "\r\n";

/// Writes one geometry as well-known text: vertices separated by commas, lists in parentheses.
class WktWriter {
public:
    WktWriter(std::string& newText, BGeometry const& geometry)
        : text(newText), is3d(geometry.is3d != 0) {}

    void Tag(char const* name, bool isEmpty) {
        text += name;
        text += is3d ? " Z " : " ";
        text += isEmpty ? "EMPTY" : "";
    }

    void Vertex(BPoint const& point) {
        AppendNumber(text, point.X);
        text += ' ';
        AppendNumber(text, point.Y);
        if (is3d) {
            text += ' ';
            AppendNumber(text, point.Z);
        }
    }

    void Line(BPoints const& points) {
        List(points.GetCount(), [&](std::uint64_t i) { Vertex(points.GetAt(i)); });
    }

    /// The ring as it is, closed.
    void Ring(BPoints const& points) {
        List(ClosedCount(points, is3d),
             [&](std::uint64_t i) { Vertex(points.GetAt(i % points.GetCount())); });
    }

    void Area(BAreaGeo const& area) {
        AreaRings const rings = RingsOf(area);
        List(rings.holes.size() + 1, [&](std::uint64_t i) {
            BPolygon const* const ring = i == 0 ? rings.shell : rings.holes[i - 1];
            Ring(ring ? ring->GetPoints() : BPoints());
        });
    }

    template <class Element>
    void List(std::uint64_t count, Element&& element) {
        if (count == 0) {
            text += "EMPTY";
            return;
        }
        text += '(';
        for (std::uint64_t i = 0; i < count; ++i) {
            if (i > 0) {
                text += ", ";
            }
            element(i);
        }
        text += ')';
    }

private:
    std::string& text;
    bool is3d;
};

bool IsEmpty(BAreaGeo const& area) {
    AreaRings const rings = RingsOf(area);
    return !rings.shell || rings.shell->GetPoints().GetCount() == 0;
}

template <class Aggregate, class Member>
void AppendMembers(WktWriter& writer, char const* tag, BGeometry const& geometry, Member&& member) {
    auto const& aggregate = static_cast<Aggregate const&>(geometry);
    writer.Tag(tag, false);
    writer.List(aggregate.GetCount(),
                [&](std::uint64_t i) { member(*aggregate.GetGeometryAt(i)); });
}

void AppendWkt(std::string& text, BGeometry const& geometry) {
    WktWriter writer(text, geometry);
    switch (geometry.type) {
    case GEO_POINT:
        writer.Tag("POINT", false);
        return writer.List(1, [&](std::uint64_t) {
            writer.Vertex(static_cast<BPointGeo const&>(geometry).GetPoint());
        });
    case GEO_POLYLINE:
        writer.Tag("LINESTRING", false);
        return writer.Line(static_cast<BPolyline const&>(geometry).GetPoints());
    case GEO_POLYGON:
    case GEO_DONUT: {
        auto const& area = static_cast<BAreaGeo const&>(geometry);
        bool const isEmpty = IsEmpty(area);
        writer.Tag("POLYGON", isEmpty);
        return isEmpty ? void() : writer.Area(area);
    }
    case GEO_AGGREGATE_POINT:
        return AppendMembers<BAggregatePoint>(
            writer, "MULTIPOINT", geometry, [&](BPointGeo const& point) {
                writer.List(1, [&](std::uint64_t) { writer.Vertex(point.GetPoint()); });
            });
    case GEO_AGGREGATE_LINEAR:
        return AppendMembers<BAggregateLinear>(
            writer, "MULTILINESTRING", geometry, [&](BLinearGeo const& line) {
                writer.Line(static_cast<BPolyline const&>(line).GetPoints());
            });
    case GEO_AGGREGATE_AREA:
        return AppendMembers<BAggregateArea>(writer, "MULTIPOLYGON", geometry,
                                             [&](BAreaGeo const& area) { writer.Area(area); });
    case GEO_NONE: return;
    }
}

void AppendValue(std::string& text, BVariant const& value) {
    if (value.IsNull()) {
        return;
    }
    switch (value.GetType()) {
    case VAR_DOUBLE:
    case VAR_FLOAT: {
        double const number = value.GetValueAsDouble(std::nan(""));
        return std::isfinite(number) ? AppendNumber(text, number) : void();
    }
    case VAR_BOOLEAN: text += value.GetValueAsBoolean(false) ? "true" : "false"; return;
    case VAR_DATE: return AppendCsvField(text, DateText(value.GetValueAsString({}).Utf8()));
    default: return AppendCsvField(text, value.GetValueAsString({}).Utf8());
    }
}

} // namespace

void CsvWriter::Begin(BString const&, BAttributeDefs const& schema) {
    constexpr char const* geometryColumn = "wkt";
    std::string& text = output.Buffer();
    if (hasAttributes) {
        columns = schema.GetCount();
        for (std::string const& name : ColumnNames(schema, {geometryColumn})) {
            AppendCsvField(text, name);
            text += ',';
        }
    }
    text += geometryColumn;
    text += recordEnd;
}

void CsvWriter::Write(std::uint64_t, BFeature const& feature, BGeometry const* geometry) {
    std::string& text = output.Buffer();
    for (std::uint64_t i = 0; i < columns; ++i) {
        if (i < feature.attributes.GetCount()) {
            AppendValue(text, feature.attributes.GetAt(i).GetValue());
        }
        text += ',';
    }
    if (geometry) {
        wkt.clear();
        AppendWkt(wkt, *geometry);
        AppendCsvField(text, wkt);
    }
    text += recordEnd;
    output.FlushIfFull();
}

} // namespace Ambrel::Tool
