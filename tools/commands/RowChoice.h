#pragma once

#include "source/RecordList.h"
#include "terminal/Console.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Ambrel::Tool {

/// Which rows of a layer the user wants, and which fields of them.
struct RowOptions {
    std::string fields;                 ///< names, with commas between them; empty: all
    std::optional<RecordList> records;  ///< none: all
    std::optional<std::uint64_t> limit; ///< rows, of those that are wanted otherwise
};

/// Records are named of one layer. Throws UsageException for several.
inline void RequireOneLayer(std::optional<RecordList> const& records, std::size_t layerCount) {
    if (records && layerCount > 1) {
        throw UsageException("--records: there are " + std::to_string(layerCount) +
                             " layers; name one of them");
    }
}

/// All rows that are wanted have been had: ends a passage through a layer before the layer does.
class EnoughException final : public StopException {
public:
    EnoughException() : StopException(BString(), BString(), BString()) {}
    char const* GetClassName() const noexcept override { return "EnoughException"; }
};

/// Decides about the rows of one layer, in their order.
class RowChoice final {
public:
    explicit RowChoice(RowOptions const& rowOptions) : options(rowOptions) {}

    /// Whether the record is one of those that are asked for. Throws EnoughException behind the
    /// last one.
    bool IsAskedFor(std::uint64_t record) {
        bool const isBehind = options.records && (options.records->IsEmpty() ||
                                                  record > options.records->Ranges().back().last);
        if (isBehind || (options.limit && taken >= *options.limit)) {
            throw EnoughException();
        }
        count = record + 1;
        return !options.records || options.records->Contains(record);
    }
    /// After the layer's last record. Throws UsageException where one is asked for that it does not
    /// have.
    void RequireAll() const {
        if (options.records) {
            options.records->RequireWithin(count);
        }
    }
    /// Counts a row that goes out.
    void Take() noexcept { ++taken; }

private:
    RowOptions const& options;
    std::uint64_t count = 0; ///< records so far
    std::uint64_t taken = 0;
};

} // namespace Ambrel::Tool
