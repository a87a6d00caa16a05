#pragma once

#include "Ambrel/BFeature.h"

namespace Ambrel::Tool {

class OutputFile;

/// Turns features into the text of one format. The text goes to the OutputFile that the writer was
/// made with, so every operation may throw what that does.
class FeatureWriter {
public:
    FeatureWriter() noexcept = default;
    FeatureWriter(FeatureWriter const&) = delete;
    FeatureWriter& operator=(FeatureWriter const&) = delete;
    virtual ~FeatureWriter() = default;

    /// What stands before the first feature.
    virtual void Begin(BString const& layerName, BAttributeDefs const& schema) = 0;
    /// `geometry` null: the feature has none that can be written.
    virtual void Write(std::uint64_t record, BFeature const& feature,
                       BGeometry const* geometry) = 0;
    /// What stands behind the last one.
    virtual void End() = 0;
};

} // namespace Ambrel::Tool
