#pragma once

#include "formats/FeatureWriter.h"

#include <string>

namespace Ambrel::Tool {

/// CSV (RFC 4180): one column for each attribute, then the column "wkt" with the geometry as
/// well-known text. What is null is an empty field.
class CsvWriter final : public FeatureWriter {
public:
    /// `newHasAttributes` false: the column "wkt" alone.
    CsvWriter(OutputFile& newOutput, bool newHasAttributes)
        : output(newOutput), hasAttributes(newHasAttributes) {}

    void Begin(BString const& layerName, BAttributeDefs const& schema) override;
    void Write(std::uint64_t record, BFeature const& feature, BGeometry const* geometry) override;
    void End() override {}

private:
    OutputFile& output;
    bool hasAttributes;
    std::uint64_t columns = 0; ///< of attributes
    std::string wkt;           ///< kept for its room
};

} // namespace Ambrel::Tool
