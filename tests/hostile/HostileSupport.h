#pragma once

#include "Checks.h"
#include "ShpSupport.h"
#include "SourceLife.h"

namespace Ambrel::Test {

/// All that a host can do with a file, fetching every record.
inline Fuzz::LifeReport LiveThrough(BString const& path, std::uint32_t mostRecords = 1000000) {
    return Fuzz::LiveThrough(path, true, BString(), mostRecords);
}

} // namespace Ambrel::Test
