#include "source/LayerTransform.h"

#include "formats/GeometryWalk.h"
#include "terminal/Console.h"

#include "Ambrel/BException.h"

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

} // namespace Ambrel::Tool
