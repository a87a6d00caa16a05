#pragma once

#include "Ambrel/BString.h"
#include "ShpReader/format/Findings.h"

#include <initializer_list>

namespace Ambrel {

/// Whether anybody hears of findings of that kind; what is costly to find need not be looked for
/// otherwise.
bool IsReported(FindingCode code) noexcept;

/// Gives the finding to the host's logger, as a value and as the sentence made from it. Never
/// fails: what there is no memory for is lost.
void Report(Finding const& finding) noexcept;
/// The same, at the cost of a comparison where nobody hears of it.
void Report(FindingCode code, BString const& file, std::optional<std::uint32_t> record = {},
            std::initializer_list<BLogValue> values = {}) noexcept;

} // namespace Ambrel
