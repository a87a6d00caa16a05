#pragma once

#include "formats/LayerDescription.h"

#include <optional>
#include <string>
#include <vector>

namespace Ambrel::Tool {

/// Writes features as GeoJSON objects (RFC 7946): the record index is the "id"; measures stand in
/// a member "measures" beside the geometry, null where a measure is no data. Shells run
/// counterclockwise, rings are closed.
class FeatureJson final {
public:
    FeatureJson() = default;
    FeatureJson(BAttributeDefs const& schema, std::optional<int> decimals);

    /// Appends one object, in one line without its end.
    void Append(std::string& text, std::uint64_t record, BFeature const& feature,
                BGeometry const* geometry) const;

private:
    std::vector<std::string> keys; ///< of the attributes, as JSON, with their colons
    std::optional<int> precision;
};

} // namespace Ambrel::Tool
