#include "GeometryText.h"

#include <charconv>
#include <iterator>
#include <sstream>

namespace Ambrel::Test {

namespace {

std::string TextOf(double number) {
    char text[40];
    return std::string(text, std::to_chars(std::begin(text), std::end(text), number).ptr);
}

std::string TextOf(BPoint const& point) {
    std::string const text = TextOf(point.X) + " " + TextOf(point.Y);
    return point.Z == 0 ? text : text + " " + TextOf(point.Z);
}

std::string TextOf(BPoints const& points) {
    std::string text;
    for (BPoint const& point : points) {
        text += (text.empty() ? "" : ",") + TextOf(point);
    }
    return "[" + text + "]";
}

/// So many members, each as `at` gives it.
template <class At>
std::string Joined(std::uint64_t count, At at) {
    std::string text;
    for (std::uint64_t i = 0; i < count; ++i) {
        text += (i ? " " : "") + Test::TextOf(at(i).Get());
    }
    return "{" + text + "}";
}

template <class Aggregate>
std::string MembersOf(BGeometry const& geometry) {
    auto const& members = static_cast<Aggregate const&>(geometry);
    return Joined(members.GetCount(), [&](auto i) { return members.GetGeometryAt(i); });
}

std::string RingsOf(BDonut const& donut) {
    return Joined(donut.GetHoleCount() + 1,
                  [&](auto i) { return i == 0 ? donut.GetShell() : donut.GetHoleAt(i - 1); });
}

} // namespace

std::string TextOf(BGeometry const* geometry) {
    if (!geometry) {
        return "none";
    }
    std::string const flag = geometry->is3d ? " Z" : "";
    switch (geometry->type) {
    case GEO_POINT:
        return "point" + flag + "[" + TextOf(static_cast<BPointGeo const*>(geometry)->GetPoint()) +
               "]";
    case GEO_POLYGON:
        return "polygon" + flag + TextOf(static_cast<BPolygon const*>(geometry)->GetPoints());
    case GEO_POLYLINE:
        return "line" + flag + TextOf(static_cast<BPolyline const*>(geometry)->GetPoints());
    case GEO_DONUT: return "donut" + flag + RingsOf(*static_cast<BDonut const*>(geometry));
    case GEO_AGGREGATE_POINT: return "points" + flag + MembersOf<BAggregatePoint>(*geometry);
    case GEO_AGGREGATE_LINEAR: return "lines" + flag + MembersOf<BAggregateLinear>(*geometry);
    case GEO_AGGREGATE_AREA: return "areas" + flag + MembersOf<BAggregateArea>(*geometry);
    case GEO_NONE: break;
    }
    return "unknown";
}

std::string TextOf(BFeature const& feature) {
    return TextOf(feature.GetGeometry().Get());
}

std::string TextOf(BKeyValuePairs const& metadata) {
    std::ostringstream text;
    for (auto const& [key, value] : metadata) {
        text << (text.tellp() > 0 ? " " : "") << key.Ascii() << '=';
        if (value.GetType() != VAR_DOUBLE_LIST) {
            text << value.GetValueAsString(BString("?")).Ascii();
            continue;
        }
        text << '(';
        for (double const element : value.GetValueAsDoubleList({})) {
            text << element << ' ';
        }
        text << ')';
    }
    return text.str();
}

std::string TextOf(BRect const& rectangle) {
    BRect const empty;
    if (rectangle.xMin == empty.xMin && rectangle.xMax == empty.xMax) {
        return "empty";
    }
    return BString::Format("%g %g %g %g", rectangle.xMin, rectangle.yMin, rectangle.xMax,
                           rectangle.yMax)
        .Ascii();
}

} // namespace Ambrel::Test
