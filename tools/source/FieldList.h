#pragma once

#include "Ambrel/BAttribute.h"

#include <string>
#include <vector>

namespace Ambrel::Tool {

/// The fields of a layer that the user wants, in the order wanted.
class FieldList final {
public:
    /// The value of "--fields": names with commas between them; empty for all fields that have a
    /// width: there may be more of the others than the file has bytes. A name that
    /// the layer does not have in these letters stands for one that differs in case. Throws
    /// UsageException for a name that there is not.
    FieldList(std::string const& text, BAttributeDefs const& schema);

    BAttributeDefs const& Schema() const noexcept { return chosen; }
    std::vector<std::uint64_t> const& Columns() const noexcept { return columns; }
    /// Leaves the feature the values of these fields.
    void Choose(BAttributes& attributes) const;

private:
    std::vector<std::uint64_t> columns; ///< positions in the layer's schema
    BAttributeDefs chosen;
    bool isWhole;
};

} // namespace Ambrel::Tool
