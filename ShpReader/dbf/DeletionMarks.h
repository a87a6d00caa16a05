#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

namespace Ambrel {

class BInputFile;
struct DbfHeader;

/// Which rows of a table are marked as deleted. Each mark is read once, with those of the rows
/// around it, and kept in two bits. Several threads may ask at once.
class DeletionMarks final {
public:
    /// Whether row `index` bears the mark; not where the file has lost it since. Throws
    /// std::bad_alloc. REQUIRES: index < rowCount, which the file's size stands for; the same
    /// arguments but for the index in every call.
    bool Has(std::uint32_t index, std::uint32_t rowCount, BInputFile const& file,
             DbfHeader const& header);

private:
    std::once_flag isMade;
    /// For 32 rows each: the marks in the low half, and above each whether it is known.
    std::unique_ptr<std::atomic<std::uint64_t>[]> words;
};

} // namespace Ambrel
