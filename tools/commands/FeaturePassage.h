#pragma once

#include "source/Source.h"

#include <functional>

namespace Ambrel::Tool {

struct Console;

/// Takes a feature with the index of its record.
using FeatureConsumer = std::function<void(std::uint64_t record, BFeature& feature)>;

/// How many records a passage has met.
struct PassageCounts {
    std::uint64_t records = 0; ///< in all
    std::uint64_t deleted = 0; ///< left out, as their table rows are marked as deleted
};

/// Hands all features of the source, which was opened on `file` and not read yet, to `consume` in
/// the order of their records. A record that cannot be read ends neither the passage nor what the
/// others bring: the console's report gets it, and its feature has no attributes, or is left out
/// where its geometry cannot be had either. Throws what `consume` throws, InterruptedException, and
/// BResourceException where memory ends.
PassageCounts PassFeatures(Console& console, BString const& file, Source& source,
                           FeatureConsumer const& consume);

} // namespace Ambrel::Tool
