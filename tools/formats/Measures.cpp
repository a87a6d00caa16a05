#include "formats/Measures.h"

#include "formats/GeometryWalk.h"

#include "ShpReader/format/ShpFormat.h"

namespace Ambrel::Tool {

std::vector<double> StoredMeasures(BFeature const& feature) {
    static BString const key = BString::FromUtf8("ShpMeasures");
    BVariant const* const measures = feature.GetMetadata().Find(key);
    return measures ? measures->GetValueAsDoubleList({}) : std::vector<double>();
}

std::vector<double> MeasuresOf(BFeature const& feature, BGeometry const& geometry) {
    std::vector<double> measures = StoredMeasures(feature);
    if (!measures.empty()) {
        std::uint64_t vertices = 0;
        ForEachPart(geometry, [&](BPoint const*, std::uint64_t count) { vertices += count; });
        if (vertices != measures.size()) {
            measures.clear();
        }
    }
    return measures;
}

bool IsNoData(double measure) noexcept {
    return !(measure >= shpNoData);
}

} // namespace Ambrel::Tool
