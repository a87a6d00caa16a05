#pragma once

#include "Ambrel/Config.h"

#include <cstdint>

namespace Ambrel {

/// Watches a long operation and may end it.
/// The order of the virtual functions is part of the interface.
class AMBREL_API BProgress {
public:
    BProgress() noexcept = default;
    BProgress(BProgress const&) noexcept = default;
    BProgress& operator=(BProgress const&) noexcept = default;
    virtual ~BProgress();

    /// Asked often (after every record, with the second argument 0): whether a report is wanted
    /// now. False does not end the operation.
    virtual bool WantsReport(std::uint32_t done, std::uint32_t total) = 0;
    /// Told how far the operation is. False ends it.
    virtual bool Report(std::uint32_t done, std::uint32_t total) = 0;
};

} // namespace Ambrel
