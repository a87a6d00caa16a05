#pragma once

#include "ShpReader/format/ShpFormat.h"

namespace Ambrel {

/// Logs, with severity 2, that a record can not be decoded and stays without geometry.
void ReportInvalidRecord(std::uint32_t index, RecordFault fault);

} // namespace Ambrel
