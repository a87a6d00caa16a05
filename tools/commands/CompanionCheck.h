#pragma once

#include "Ambrel/BString.h"

#include <string>
#include <vector>

namespace Ambrel::Tool {

/// Where the main file, the index and the table of a shapefile that can be opened do not agree,
/// one text each. A reader takes the records that the index names, and does not see what it lost.
std::vector<std::string> CompanionProblems(BString const& shapefile);

} // namespace Ambrel::Tool
