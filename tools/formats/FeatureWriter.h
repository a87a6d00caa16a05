#pragma once

#include "formats/LayerDescription.h"

namespace Ambrel::Tool {

/// Puts the features of layers into one output of one format: BeginLayer, Write for each feature
/// and EndLayer; once for each layer where the format holds several; then Finish. Nothing appears
/// under the output's name before Finish, and nothing ever does where a writer is destroyed
/// without.
///
/// Every operation may throw OutputException and PipeClosedException; BeginLayer also throws
/// UsageException for a layer that the format or its options cannot hold.
class FeatureWriter {
public:
    FeatureWriter() noexcept = default;
    FeatureWriter(FeatureWriter const&) = delete;
    FeatureWriter& operator=(FeatureWriter const&) = delete;
    virtual ~FeatureWriter() = default;

    /// What stands before the first feature. REQUIRES: the description lives until EndLayer.
    virtual void BeginLayer(LayerDescription const& layer) = 0;
    /// `geometry` null: the feature has none that can be written. Else it is the feature's own or
    /// one of the same vertices in other coordinates, and all of them are finite.
    virtual void Write(std::uint64_t record, BFeature const& feature,
                       BGeometry const* geometry) = 0;
    /// What stands behind the last one.
    virtual void EndLayer() = 0;
    /// Puts the output in place.
    virtual void Finish() = 0;
    /// How much of what was written differs from what was given, each told in a warning.
    virtual std::uint64_t GetProblemCount() const { return 0; }
};

} // namespace Ambrel::Tool
