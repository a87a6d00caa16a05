#pragma once

#include "source/Source.h"

#include <functional>

namespace Ambrel::Tool {

struct Console;

/// Takes a feature with the index of its record.
using FeatureConsumer = std::function<void(std::uint64_t record, BFeature& feature)>;

/// Hands all features of the source, which was opened on `file` and not read yet, to `consume` in
/// the order of their records. A record that can not be read ends neither the passage nor what the
/// others bring: it is printed as an error, and its feature has no attributes, or is left out where
/// its geometry can not be had either. Returns how many such records there are. Throws what
/// `consume` throws, InterruptedException, and BResourceException where memory ends.
std::uint64_t PassFeatures(Console& console, BString const& file, Source& source,
                           FeatureConsumer const& consume);

} // namespace Ambrel::Tool
