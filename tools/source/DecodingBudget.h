#pragma once

#include "Ambrel/BString.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>

namespace Ambrel::Tool {

/// The bytes of records that may be decoded of a main file in one passage: twice its size, 1 MiB at
/// least, so that an index that names the same bytes again and again makes no work without end.
class DecodingBudget final {
public:
    /// `size`: of the main file, in bytes.
    explicit DecodingBudget(std::uint64_t size) noexcept : left(std::max(2 * size, least)) {}
    /// Of a file that is there; the least of one that is not.
    static DecodingBudget Of(BString const& file) {
        std::error_code error;
        std::uint64_t const size = std::filesystem::file_size(std::string(file.Utf8()), error);
        return DecodingBudget(error ? 0 : size);
    }

    std::uint64_t Left() const noexcept { return left; }
    /// False, and nothing is taken, where less is left.
    bool Take(std::uint64_t bytes) noexcept {
        bool const isThere = bytes <= left;
        left -= isThere ? bytes : 0;
        return isThere;
    }

private:
    static constexpr std::uint64_t least = 1024 * 1024;

    std::uint64_t left;
};

} // namespace Ambrel::Tool
