#include "commands/OutputSystem.h"

#include "formats/GeometryWalk.h"
#include "source/FindingReport.h"
#include "source/LongitudesAndLatitudes.h"

#include "Ambrel/BException.h"

namespace Ambrel::Tool {

namespace {

BSharedPtr<BCoordSys> TargetOf(FindingReport& report, BSharedPtr<BCoordSys> const& own,
                               Format const& format, std::string const& wanted) {
    bool const isAsked = !wanted.empty() && wanted != "source";
    bool const isExpected = wanted.empty() && format.isWgs84;
    if (!isAsked && !isExpected) {
        return own;
    }
    if (!own && isAsked) {
        throw BDataManagerException(
            BString::FromUtf8("--to-crs"),
            BString::FromUtf8("the coordinate system of the layer is not known; see --crs"));
    }
    if (!own) {
        report.Add(CRS_UNKNOWN);
        return own;
    }
    return isAsked ? CoordSysCalled("--to-crs", wanted) : Wgs84();
}

} // namespace

OutputSystem::OutputSystem(FindingReport& theReport, BVectorLayer const& layer,
                           Format const& format, std::string const& wanted)
    : report(theReport), system(TargetOf(report, layer.GetCoordSys(), format, wanted)),
      transform(layer.GetCoordSys(), system),
      isGeographic(layer.GetCoordSys() && layer.GetCoordSys()->IsGeographic()) {}

BGeometry const* OutputSystem::Bring(std::uint64_t record, BGeometry& geometry) {
    if (isGeographic && !CanBeLongitudesAndLatitudes(BoxOf(geometry))) {
        ++outOfRange;
        return &geometry;
    }
    if (!transform.Apply(geometry)) {
        report.Add(GEOMETRY_NOT_TRANSFORMED, record, {std::string(system->GetName().Utf8())});
        return nullptr;
    }
    return &geometry;
}

void OutputSystem::Finish() {
    if (outOfRange > 0) {
        report.Add(POSITIONS_OUT_OF_RANGE, {}, {static_cast<std::int64_t>(outOfRange)});
    }
}

} // namespace Ambrel::Tool
