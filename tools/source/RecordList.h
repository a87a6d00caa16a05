#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Ambrel::Tool {

/// Records that the user named, as a set: each counts once, in the order of their indexes.
class RecordList final {
public:
    struct Range {
        std::uint64_t first;
        std::uint64_t last; ///< belongs to the range
    };

    /// The value of "--records": a list of indexes and ranges ("18,40-43"), or "-" for one on
    /// standard input. Throws UsageException, and InterruptedException.
    static RecordList FromOption(std::string const& text);
    /// Indexes and ranges with commas or white space between them, in brackets or not: what
    /// `select` prints, with --json too. Throws UsageException.
    static RecordList Parse(std::string_view text);

    bool IsEmpty() const noexcept { return ranges.empty(); }
    bool Contains(std::uint64_t record) const noexcept;
    /// Sorted, and with gaps between them.
    std::vector<Range> const& Ranges() const noexcept { return ranges; }
    /// Leaves those records in `records` that the list names.
    void Keep(std::vector<std::uint64_t>& records) const;
    /// Throws UsageException where the list names a record that a layer of so many does not
    /// have.
    void RequireWithin(std::uint64_t recordCount) const;

private:
    void Join();

    std::vector<Range> ranges;
};

} // namespace Ambrel::Tool
