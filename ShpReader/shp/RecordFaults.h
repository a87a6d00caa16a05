#pragma once

#include "ShpReader/shp/ShpFormat.h"

namespace Ambrel {

/// Logs, with severity 2, that a record can not be decoded and stays without geometry.
void ReportInvalidRecord(std::uint32_t index, RecordFault fault);

/// Why the parts of a record can not be decoded. The start of a single part is not looked at: it
/// has all vertices.
inline RecordFault FindFault(VertexRecord const& record) noexcept {
    if (record.Fault() != RecordFault::None || record.PartCount() == 1) {
        return record.Fault();
    }
    return record.CheckPartStarts();
}

} // namespace Ambrel
