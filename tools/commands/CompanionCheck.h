#pragma once

#include "Ambrel/BString.h"

namespace Ambrel::Tool {

class FindingReport;

/// Reports where the main file, the index and the table of a shapefile that can be opened do not
/// agree. A reader takes the records that the index names, and does not see what it lost.
void CheckCompanions(BString const& shapefile, FindingReport& report);

} // namespace Ambrel::Tool
