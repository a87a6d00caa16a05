#include "formats/LayerDescription.h"

namespace Ambrel::Tool {

LayerDescription DescribeLayer(BVectorLayer const& layer) {
    static BString const measuresKey = BString::FromUtf8("ShpHasMeasures");
    BVariant const* const hasMeasures = layer.GetMetadata().Find(measuresKey);
    return {.name = std::string(layer.name.Utf8()),
            .schema = layer.GetSchema(),
            .geometryClass = layer.GetSingleGeometryClass(),
            .hasZ = layer.Is3d(),
            .hasMeasures = hasMeasures && hasMeasures->GetValueAsBoolean(false),
            .coordSys = layer.GetCoordSys()};
}

} // namespace Ambrel::Tool
