#pragma once

#include "ShpReader/format/Findings.h"

#include <new>
#include <vector>

namespace Ambrel {

/// Something found in one record.
struct RecordFinding {
    FindingCode code;
    std::uint32_t part = 0; ///< of EmptyPart
    bool operator==(RecordFinding const&) const = default;
};

/// What is found in one record, in order.
class RecordFindings {
public:
    /// Never fails: what there is no memory for is lost.
    void Add(FindingCode code, std::size_t part = 0) noexcept {
        try {
            findings.push_back({code, static_cast<std::uint32_t>(part)});
        } catch (std::bad_alloc const&) { // NOLINT(bugprone-empty-catch): as said
        }
    }
    auto begin() const noexcept { return findings.begin(); }
    auto end() const noexcept { return findings.end(); }

private:
    std::vector<RecordFinding> findings;
};

} // namespace Ambrel
