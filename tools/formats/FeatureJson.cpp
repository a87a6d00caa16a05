#include "formats/FeatureJson.h"

#include "formats/ColumnNames.h"
#include "formats/CoordinateText.h"
#include "formats/GeometryWalk.h"
#include "formats/Measures.h"

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
class CoordinateVisitor {
public:
    CoordinateVisitor(std::string& target, bool is3d, std::optional<int> precision)
        : text(target), coordinates(target, ',', precision), hasZ(is3d) {}

    /// A point is its position, which has brackets of its own.
    void Begin(GeometryKind kind, std::uint64_t) {
        if (kind != GeometryKind::Point) {
            Separate();
            text += '[';
        }
    }
    void Vertices(BPoint const* first, std::uint64_t count) {
        std::for_each(first, first + count, [this](BPoint const& point) { Position(point); });
    }
    /// One without area has no orientation and stays as it is.
    void Ring(BPolygon const& ring, bool isShell) {
        EOrientation const wanted = isShell ? ORIENTATION_COUNTERCLOCKWISE : ORIENTATION_CLOCKWISE;
        EOrientation const found = ring.GetOrientation();
        BPoints const& points = ring.GetPoints();
        std::uint64_t const count = points.GetCount();
        std::uint64_t const closedCount = ClosedCount(points, hasZ);
        Begin(GeometryKind::LineString, closedCount);
        if (found == ORIENTATION_NONE || found == wanted) {
            Vertices(points.begin(), count);
        } else {
            for (std::uint64_t i = count; i > 0; --i) {
                Position(points.GetAt(i - 1));
            }
        }
        if (closedCount > count) {
            Position(found == ORIENTATION_NONE || found == wanted ? points.GetAt(0)
                                                                  : points.GetLast());
        }
        End(GeometryKind::LineString);
    }
    void End(GeometryKind kind) {
        if (kind != GeometryKind::Point) {
            text += ']';
        }
    }

private:
    void Position(BPoint const& point) {
        Separate();
        text += '[';
        coordinates.Append(point, hasZ);
        text += ']';
    }
    void Separate() {
        if (text.back() == ']') {
            text += ',';
        }
    }

    std::string& text;
    CoordinateText coordinates;
    bool hasZ;
};

void AppendGeometry(std::string& text, BGeometry const* geometry, std::optional<int> precision) {
    std::optional<GeometryKind> const kind = geometry ? KindOf(*geometry) : std::nullopt;
    if (!kind) {
        text += "null";
        return;
    }
    text += R"({"type":")";
    text += NameOf(*kind);
    text += R"(","coordinates":)";
    CoordinateVisitor visitor(text, geometry->is3d != 0, precision);
    VisitGeometry(*geometry, visitor);
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
    std::vector<double> const measures = StoredMeasures(feature);
    if (measures.empty()) {
        return;
    }
    text += R"(,"measures":[)";
    char const* separator = "";
    for (double const measure : measures) {
        text += separator;
        separator = ",";
        AppendNumberOrNull(text, IsNoData(measure) ? std::nan("") : measure);
    }
    text += ']';
}

} // namespace

FeatureJson::FeatureJson(BAttributeDefs const& schema, std::optional<int> decimals)
    : precision(decimals) {
    for (std::string const& name : ColumnNames(schema, {})) {
        AppendJsonString(keys.emplace_back(), name);
        keys.back() += ':';
    }
}

void FeatureJson::Append(std::string& text, std::uint64_t record, BFeature const& feature,
                         BGeometry const* geometry) const {
    text += R"({"type":"Feature","id":)";
    AppendNumber(text, record);
    text += R"(,"geometry":)";
    AppendGeometry(text, geometry, precision);
    text += R"(,"properties":)";
    AppendProperties(text, keys, feature.attributes);
    AppendMeasures(text, feature);
    text += '}';
}

} // namespace Ambrel::Tool
