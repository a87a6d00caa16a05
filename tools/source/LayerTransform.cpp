#include "source/LayerTransform.h"

#include "formats/GeometryWalk.h"
#include "source/LongitudesAndLatitudes.h"
#include "terminal/Console.h"

#include "Ambrel/BException.h"

#include <cmath>

namespace Ambrel::Tool {

namespace {

bool AreOne(BCoordSys const& a, BCoordSys const& b) {
    bool const isWgs84 = a.IsLongLatWgs84();
    if (isWgs84 || b.IsLongLatWgs84()) {
        return isWgs84 && b.IsLongLatWgs84();
    }
    BString const text = a.ToText();
    return !text.IsEmpty() && text == b.ToText();
}

} // namespace

BSharedPtr<BCoordSys> CoordSysCalled(std::string const& option, std::string const& name) {
    try {
        return BSharedPtr<BCoordSys>(BCoordSys::FromText(BString::FromUtf8(name)));
    } catch (BException const&) {
        throw UsageException(option + ": \"" + name + "\" is no known coordinate system");
    }
}

BSharedPtr<BCoordSys> Wgs84() {
    return BSharedPtr<BCoordSys>(BCoordSys::FromText(BString::FromUtf8("EPSG:4326")));
}

LayerTransform::LayerTransform(BSharedPtr<BCoordSys> const& from, BSharedPtr<BCoordSys> const& to) {
    if (from && to && !AreOne(*from, *to)) {
        transform = from->MakeTransformTo(*to);
        isGeographic = from->IsGeographic();
    }
}

bool LayerTransform::Apply(BGeometry& geometry) const {
    if (!transform) {
        return true;
    }
    try {
        geometry.Transform(*transform, false);
    } catch (BException const&) { // the position lies outside the coordinate system
        return false;
    }
    return IsFinite(geometry);
}

bool LayerTransform::Apply(double& x, double& y) const {
    if (!transform) {
        return true;
    }
    if (isGeographic && !CanBeLongitudesAndLatitudes(BRect(x, y, x, y))) {
        return false;
    }
    BPoint point(x, y);
    try {
        transform->Forward(point);
    } catch (BException const&) { // the position lies outside the coordinate system
        return false;
    }
    x = point.X;
    y = point.Y;
    return std::isfinite(x) && std::isfinite(y);
}

} // namespace Ambrel::Tool
