#include "formats/GeoJsonWriter.h"

#include "formats/ColumnNames.h"
#include "formats/GeometryWalk.h"
#include "formats/OutputFile.h"
#include "formats/TextFormat.h"

#include "ShpReader/format/ShpFormat.h"

#include <algorithm>
#include <cmath>

namespace Ambrel::Tool {

namespace {

void AppendNumberOrNull(std::string& text, double value) {
    if (std::isfinite(value)) {
        AppendNumber(text, value);
    } else {
        text += "null";
    }
}

/// Writes the coordinates of one geometry, whose flag says whether they have Z.
class CoordinateWriter {
public:
    CoordinateWriter(std::string& newText, BGeometry const& geometry)
        : text(newText), is3d(geometry.is3d != 0) {}

    void Position(BPoint const& point) {
        text += '[';
        AppendNumber(text, point.X);
        text += ',';
        AppendNumber(text, point.Y);
        if (is3d) {
            text += ',';
            AppendNumber(text, point.Z);
        }
        text += ']';
    }

    void Line(BPoints const& points) {
        List(points.GetCount(), [&](std::uint64_t i) { Position(points.GetAt(i)); });
    }

    void Area(BAreaGeo const& area) {
        AreaRings const rings = RingsOf(area);
        text += '[';
        if (rings.shell && rings.shell->GetPoints().GetCount() > 0) {
            Ring(*rings.shell, ORIENTATION_COUNTERCLOCKWISE);
        }
        for (BPolygon const* const hole : rings.holes) {
            text += ',';
            Ring(*hole, ORIENTATION_CLOCKWISE);
        }
        text += ']';
    }

    /// `[`, what `element(i)` writes for each i below `count`, separated by commas, `]`.
    template <class Element>
    void List(std::uint64_t count, Element&& element) {
        text += '[';
        for (std::uint64_t i = 0; i < count; ++i) {
            if (i > 0) {
                text += ',';
            }
            element(i);
        }
        text += ']';
    }

private:
    /// A closed ring. One without area has no orientation and stays as it is.
    void Ring(BPolygon const& ring, EOrientation wanted) {
        BPoints const& points = ring.GetPoints();
        std::uint64_t const count = points.GetCount();
        EOrientation const found = ring.GetOrientation();
        bool const isReversed = found != ORIENTATION_NONE && found != wanted;
        List(ClosedCount(points, is3d), [&](std::uint64_t i) {
            std::uint64_t const place = i % count;
            Position(points.GetAt(isReversed ? count - 1 - place : place));
        });
    }

    std::string& text;
    bool is3d;
};

template <class Aggregate, class Member>
void AppendMembers(CoordinateWriter& writer, BGeometry const& geometry, Member&& member) {
    auto const& aggregate = static_cast<Aggregate const&>(geometry);
    writer.List(aggregate.GetCount(),
                [&](std::uint64_t i) { member(*aggregate.GetGeometryAt(i)); });
}

char const* TypeName(EGeometryType type) {
    switch (type) {
    case GEO_POINT: return "Point";
    case GEO_POLYLINE: return "LineString";
    case GEO_POLYGON:
    case GEO_DONUT: return "Polygon";
    case GEO_AGGREGATE_POINT: return "MultiPoint";
    case GEO_AGGREGATE_LINEAR: return "MultiLineString";
    case GEO_AGGREGATE_AREA: return "MultiPolygon";
    case GEO_NONE: break;
    }
    return nullptr;
}

void AppendCoordinates(std::string& text, BGeometry const& geometry) {
    CoordinateWriter writer(text, geometry);
    switch (geometry.type) {
    case GEO_POINT: return writer.Position(static_cast<BPointGeo const&>(geometry).GetPoint());
    case GEO_POLYLINE: return writer.Line(static_cast<BPolyline const&>(geometry).GetPoints());
    case GEO_POLYGON:
    case GEO_DONUT: return writer.Area(static_cast<BAreaGeo const&>(geometry));
    case GEO_AGGREGATE_POINT:
        return AppendMembers<BAggregatePoint>(
            writer, geometry, [&](BPointGeo const& point) { writer.Position(point.GetPoint()); });
    case GEO_AGGREGATE_LINEAR:
        return AppendMembers<BAggregateLinear>(writer, geometry, [&](BLinearGeo const& line) {
            writer.Line(static_cast<BPolyline const&>(line).GetPoints());
        });
    case GEO_AGGREGATE_AREA:
        return AppendMembers<BAggregateArea>(writer, geometry,
                                             [&](BAreaGeo const& area) { writer.Area(area); });
    case GEO_NONE: return;
    }
}

void AppendGeometry(std::string& text, BGeometry const* geometry) {
    char const* const type = geometry ? TypeName(geometry->type) : nullptr;
    if (!type) {
        text += "null";
        return;
    }
    text += R"({"type":")";
    text += type;
    text += R"(","coordinates":)";
    AppendCoordinates(text, *geometry);
    text += '}';
}

void AppendValue(std::string& text, BVariant const& value) {
    if (value.IsNull()) {
        text += "null";
        return;
    }
    switch (value.GetType()) {
    case VAR_DOUBLE:
    case VAR_FLOAT: return AppendNumberOrNull(text, value.GetValueAsDouble(std::nan("")));
    case VAR_BOOLEAN: text += value.GetValueAsBoolean(false) ? "true" : "false"; return;
    case VAR_DATE: return AppendJsonString(text, DateText(value.GetValueAsString({}).Utf8()));
    case VAR_STRING: return AppendJsonString(text, value.GetValueAsString({}).Utf8());
    case VAR_UNSIGNED_INTEGER64: return AppendNumber(text, value.GetValueAsUnsignedInteger64(0));
    default: return AppendNumber(text, value.GetValueAsInteger64(0));
    }
}

/// `keys`: one for each attribute, as JSON, with its colon.
void AppendProperties(std::string& text, std::vector<std::string> const& keys,
                      BAttributes const& attributes) {
    text += '{';
    for (std::uint64_t i = 0; i < std::min(keys.size(), attributes.GetCount()); ++i) {
        if (i > 0) {
            text += ',';
        }
        text += keys[i];
        AppendValue(text, attributes.GetAt(i).GetValue());
    }
    text += '}';
}

void AppendMeasures(std::string& text, BFeature const& feature) {
    static BString const key = BString::FromUtf8("ShpMeasures");
    BVariant const* const measures = feature.GetMetadata().Find(key);
    if (!measures) {
        return;
    }
    text += R"(,"measures":[)";
    char const* separator = "";
    for (double const measure : measures->GetValueAsDoubleList({})) {
        text += separator;
        separator = ",";
        AppendNumberOrNull(text, measure < shpNoData ? std::nan("") : measure);
    }
    text += ']';
}

} // namespace

void GeoJsonWriter::Begin(BString const& layerName, BAttributeDefs const& schema) {
    for (std::string const& name : ColumnNames(schema, {})) {
        AppendJsonString(keys.emplace_back(), name);
        keys.back() += ':';
    }
    std::string& text = output.Buffer();
    text += R"({"type":"FeatureCollection","name":)";
    AppendJsonString(text, layerName.Utf8());
    text += R"(,"features":[)";
}

void GeoJsonWriter::Write(std::uint64_t record, BFeature const& feature,
                          BGeometry const* geometry) {
    std::string& text = output.Buffer();
    text += isFirst ? "\n" : ",\n";
    isFirst = false;
    text += R"({"type":"Feature","id":)";
    AppendNumber(text, record);
    text += R"(,"geometry":)";
    AppendGeometry(text, geometry);
    text += R"(,"properties":)";
    AppendProperties(text, keys, feature.attributes);
    AppendMeasures(text, feature);
    text += '}';
    output.FlushIfFull();
}

void GeoJsonWriter::End() {
    output.Append("\n]}\n");
}

} // namespace Ambrel::Tool
