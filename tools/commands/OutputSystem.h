#pragma once

#include "formats/Format.h"
#include "source/LayerTransform.h"

#include "Ambrel/BLayer.h"

#include <string>

namespace Ambrel::Tool {

class FindingReport;

/// The coordinate system that the features of a layer are written in.
class OutputSystem final {
public:
    /// `wanted`: what the user calls a system, "source" for the layer's own, or empty for what the
    /// format asks for. Throws UsageException for a name that nobody knows, and BException where
    /// the layer's own system is needed and not known, or no way leads from it.
    OutputSystem(FindingReport& theReport, BVectorLayer const& layer, Format const& format,
                 std::string const& wanted);

    /// Empty where it is not known.
    BSharedPtr<BCoordSys> const& System() const noexcept { return system; }

    /// The geometry, whose coordinates are finite, in the system. Null, with a finding, for one
    /// that has no place there. Coordinates that are said to be longitudes and latitudes and cannot
    /// be such stay as they are.
    BGeometry const* Bring(std::uint64_t record, BGeometry& geometry);
    /// Reports in how many records there were such coordinates.
    void Finish();

private:
    FindingReport& report;
    BSharedPtr<BCoordSys> system;
    LayerTransform transform;
    bool isGeographic; ///< the layer's own
    std::uint64_t outOfRange = 0;
};

} // namespace Ambrel::Tool
