#pragma once

#include "ShpReader/format/Findings.h"

namespace Ambrel {

/// Whether anybody hears of findings of that kind; what is costly to find need not be looked for
/// otherwise.
bool IsReported(FindingCode code) noexcept;

/// Gives the finding to the host's logger, as a value and as the sentence made from it. Never
/// fails: what there is no memory for is lost.
void Report(Finding const& finding) noexcept;

} // namespace Ambrel
