#pragma once

#include "Ambrel/Config.h"

#include <cstdint>
#include <vector>

namespace Ambrel {

/// Bytes, as objects are turned into them.
using BByteArray = std::vector<std::uint8_t>;

/// Base of what can be turned into bytes and back. The bytes are for the same version of the
/// library on a machine of the same byte order.
class AMBREL_API BByteStreamable {
public:
    BByteStreamable() noexcept = default;
    BByteStreamable(BByteStreamable const&) noexcept = default;
    BByteStreamable& operator=(BByteStreamable const&) noexcept = default;

    /// The size in bytes of what ToByteArray gives.
    virtual std::uint64_t ComputeSize() const = 0;
    /// The object as bytes.
    virtual BByteArray ToByteArray() = 0;
    /// Replaces the object by what stands at `position` of the bytes, and moves the position behind
    /// it. Throws BFileContentNotValidException when the bytes are not what ToByteArray gave; the
    /// object is then as it was.
    virtual void FromByteArray(BByteArray const& bytes, std::uint64_t& position) = 0;
    virtual ~BByteStreamable();
};

} // namespace Ambrel
