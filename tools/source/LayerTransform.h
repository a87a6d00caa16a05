#pragma once

#include "Ambrel/BCoordSys.h"
#include "Ambrel/BGeometry.h"
#include "Ambrel/BSharedPtr.h"

#include <memory>
#include <string>

namespace Ambrel::Tool {

/// The coordinate system that the user calls `name`: "EPSG:25832", or any text that PROJ knows.
/// Throws UsageException, which begins with the option's name.
BSharedPtr<BCoordSys> CoordSysCalled(std::string const& option, std::string const& name);

/// Longitude and latitude on WGS 84.
BSharedPtr<BCoordSys> Wgs84();

/// Brings the geometries of a layer from its own coordinate system into another one. X is the
/// easting or longitude on both sides, whatever the order of the axes in the definitions.
class LayerTransform final {
public:
    /// Leaves every digit as it is.
    LayerTransform() = default;
    /// The same where one of the systems is not known, or where they are one. Throws BException
    /// where there is no way from one to the other.
    LayerTransform(BSharedPtr<BCoordSys> const& from, BSharedPtr<BCoordSys> const& to);

    bool IsIdentity() const noexcept { return !transform; }
    /// Changes the vertices. False where one of them has no image; what the geometry has then is
    /// of no use.
    bool Apply(BGeometry& geometry) const;
    /// The same for one position. What is said to be longitude and latitude and cannot be such has
    /// no image.
    bool Apply(double& x, double& y) const;

private:
    std::unique_ptr<BTransform> transform;
    bool isGeographic = false; ///< where it comes from
};

} // namespace Ambrel::Tool
