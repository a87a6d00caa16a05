#pragma once

#include "Ambrel/BString.h"

#include <cstdint>
#include <vector>

namespace Ambrel::Tool {

/// What the index of a shapefile asks of those who read all of its records: whether they can be
/// read in one go, and which of them are beyond what the main file can stand for. What is decoded
/// of the records, in the index's order, may add up to twice the main file's size, or to 1 MiB;
/// what an index makes of it beyond that, by naming the same bytes again and again, is not valid.
class IndexSurvey {
public:
    /// Of no index: every record is admitted.
    IndexSurvey() = default;
    /// Of the shapefile's own; of none where it cannot be opened. Throws InterruptedException.
    explicit IndexSurvey(BString const& shapefile);

    /// The entries of the index.
    std::uint64_t RecordCount() const noexcept { return recordCount; }
    /// Whether the records are to be fetched one by one: the first one has no length, which a whole
    /// read takes for the end, or the index claims more than what may be decoded.
    bool NeedsFetches() const noexcept { return needsFetches; }
    bool Admits(std::uint64_t record) const noexcept {
        return record >= isRefused.size() || !isRefused[record];
    }

private:
    std::uint64_t recordCount = 0;
    bool needsFetches = false;
    std::vector<bool> isRefused; ///< empty where the claims fit
};

} // namespace Ambrel::Tool
