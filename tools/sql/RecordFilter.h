#pragma once

#include "source/Source.h"

#include <string>
#include <vector>

namespace Ambrel::Tool {

struct Console;

/// The records of a layer for which an expression of SQL is true, as it would be behind WHERE. The
/// layer's fields and hidden columns are what it can speak of.
class RecordFilter final {
public:
    /// Asks the file, which is opened for it. Throws UsageException for wrong SQL, whose place is
    /// shown on standard error before, InterruptedException, and what opening the file throws.
    RecordFilter(Console& console, BString const& file, SourceOptions options,
                 std::string const& expression);

    bool Contains(std::uint64_t record) const noexcept {
        return record < contained.size() && contained[record];
    }
    /// Their indexes, in ascending order.
    std::vector<std::uint64_t> Records() const;

private:
    std::vector<bool> contained; ///< one for each record, up to the last that is
};

} // namespace Ambrel::Tool
