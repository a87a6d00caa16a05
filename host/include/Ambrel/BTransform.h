#pragma once

#include "Ambrel/BPoint.h"

namespace Ambrel {

/// A mapping of positions that can be undone.
class AMBREL_API BTransform {
public:
    BTransform() noexcept = default;
    BTransform(BTransform const&) noexcept = default;
    BTransform& operator=(BTransform const&) noexcept = default;
    virtual ~BTransform();

    /// Maps one position in place. May throw a BException for one that has no image.
    virtual void Forward(BPoint& point) const = 0;
    virtual void Reverse(BPoint& point) const = 0;
};

} // namespace Ambrel
