#pragma once

#include "formats/FeatureWriter.h"

#include <string>
#include <vector>

namespace Ambrel::Tool {

/// GeoJSON (RFC 7946), one feature a line. The record index is the feature's "id"; its measures
/// stand in a member "measures" of the feature, null where a measure is no data.
class GeoJsonWriter final : public FeatureWriter {
public:
    explicit GeoJsonWriter(OutputFile& newOutput) : output(newOutput) {}

    void Begin(BString const& layerName, BAttributeDefs const& schema) override;
    void Write(std::uint64_t record, BFeature const& feature, BGeometry const* geometry) override;
    void End() override;

private:
    OutputFile& output;
    std::vector<std::string> keys; ///< of the attributes, as JSON, with their colons
    bool isFirst = true;
};

} // namespace Ambrel::Tool
