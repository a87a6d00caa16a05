#include "commands/FeatureCheck.h"

#include "commands/RingCheck.h"
#include "formats/GeometryWalk.h"
#include "source/LongitudesAndLatitudes.h"

#include "ShpReader/format/ShpFormat.h"

#include <algorithm>
#include <cmath>

namespace Ambrel::Tool {

namespace {

/// The vertices that make a line or a ring, as the format's description has it.
std::uint64_t LeastVertices(EGeometryType type) {
    switch (type) {
    case GEO_POLYLINE:
    case GEO_AGGREGATE_LINEAR: return 2;
    case GEO_POLYGON:
    case GEO_DONUT:
    case GEO_AGGREGATE_AREA: return 4;
    case GEO_POINT:
    case GEO_AGGREGATE_POINT:
    case GEO_NONE: break;
    }
    return 0;
}

bool HasPartOfFewVertices(BGeometry const& geometry) {
    std::uint64_t const least = LeastVertices(geometry.type);
    bool hasOne = false;
    ForEachPart(geometry, [&](BPoint const*, std::uint64_t count) { hasOne |= count < least; });
    return hasOne;
}

/// What is odd about the rings of one geometry.
struct RingVisitor {
    bool isOpen = false;
    bool isFlat = false;
    Crossings crossings = Crossings::None;

    void Begin(GeometryKind, std::uint64_t) {}
    void Vertices(BPoint const*, std::uint64_t) {}
    void Ring(BPolygon const& polygon, bool) {
        BPoints const& ring = polygon.GetPoints();
        isOpen |= ClosedCount(ring, false) != ring.GetCount();
        isFlat |= HasNoArea(ring);
        if (crossings != Crossings::Found) {
            crossings = std::max(crossings, FindCrossings(ring));
        }
    }
    void End(GeometryKind) {}
};

bool IsSame(double a, double b, double scale) {
    constexpr double tolerance = 1e-7; // a float has 24 bits
    return std::abs(a - b) <= tolerance * scale;
}

/// What is put where a byte is not in the encoding.
bool HasReplacement(BVariant const& value) {
    return value.GetType() == VAR_STRING && !value.IsNull() &&
           value.GetValueAsString({}).Utf8().find("\xEF\xBF\xBD") != std::string_view::npos;
}

} // namespace

bool IsSameBox(BRect const& stated, BRect const& real) {
    double const scale = std::max(
        {std::abs(real.xMin), std::abs(real.xMax), std::abs(real.yMin), std::abs(real.yMax)});
    return IsSame(stated.xMin, real.xMin, scale) && IsSame(stated.xMax, real.xMax, scale) &&
           IsSame(stated.yMin, real.yMin, scale) && IsSame(stated.yMax, real.yMax, scale);
}

void FeatureCheck::Take(std::uint64_t record, BFeature const& feature,
                        std::optional<BRect> const& storedBox) {
    if (BGeometry const* const geometry = feature.GetGeometry().Get()) {
        LookAtGeometry(record, *geometry, storedBox);
    }
    LookAtValues(record, feature);
    if (expectations.measuresAreHidden) {
        LookAtMeasures(feature);
    }
}

void FeatureCheck::LookAtGeometry(std::uint64_t record, BGeometry const& geometry,
                                  std::optional<BRect> const& storedBox) {
    CountIf(HasPartOfFewVertices(geometry), FEW_VERTICES);
    if (!IsFinite(geometry)) {
        isExtentKnown = false;
        return report.Count(COORDINATES_NOT_FINITE);
    }
    LookAtBoxes(record, geometry, storedBox);
    LookAtRings(geometry);
}

void FeatureCheck::LookAtBoxes(std::uint64_t record, BGeometry const& geometry,
                               std::optional<BRect> const& storedBox) {
    BRect const box = BoxOf(geometry);
    if (box.IsEmpty()) {
        return;
    }
    extent.Union(box);
    if (storedBox && !IsSameBox(*storedBox, box)) {
        report.Add(RECORD_BOX_WRONG, record);
    }
    if (expectations.isGeographic && !CanBeLongitudesAndLatitudes(box)) {
        report.Add(POSITION_OUT_OF_RANGE, record);
    }
}

void FeatureCheck::LookAtRings(BGeometry const& geometry) {
    RingVisitor rings;
    VisitGeometry(geometry, rings);
    CountIf(rings.isOpen, RINGS_OPEN);
    CountIf(rings.isFlat, RINGS_WITHOUT_AREA);
    CountIf(rings.crossings == Crossings::Found, RINGS_CROSSING);
    CountIf(rings.crossings == Crossings::NotSearched, RINGS_NOT_LOOKED_AT);
}

void FeatureCheck::CountIf(bool isFound, ToolFinding code) {
    if (isFound) {
        report.Count(code);
    }
}

void FeatureCheck::LookAtValues(std::uint64_t record, BFeature const& feature) {
    std::uint64_t missing = 0;
    for (std::uint64_t i = 0; i < feature.attributes.GetCount(); ++i) {
        BAttribute const& attribute = feature.attributes.GetAt(i);
        missing += attribute.GetValue().IsNull();
        if (HasReplacement(attribute.GetValue())) {
            report.Add(TEXT_NOT_IN_ENCODING, record, {std::string(attribute.GetName().Utf8())});
        }
    }
    if (missing > 0) {
        report.Count(MISSING_VALUES, missing);
    }
}

void FeatureCheck::LookAtMeasures(BFeature const& feature) {
    static BString const key = BString::FromUtf8("ShpMeasures");
    BVariant const* const measures = feature.GetMetadata().Find(key);
    if (!measures) {
        return;
    }
    std::vector<double> const values = measures->GetValueAsDoubleList({});
    // The range of measures that are all 0 hides nothing.
    bool const hasOne = std::any_of(values.begin(), values.end(), [](double measure) {
        return measure >= shpNoData && measure != 0.0;
    });
    CountIf(hasOne, HIDDEN_MEASURES);
}

} // namespace Ambrel::Tool
