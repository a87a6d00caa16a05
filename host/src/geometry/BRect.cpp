#include "Ambrel/BRect.h"

namespace Ambrel {

namespace {

/// The lower bound of both; of two where one is not a number, the other.
double Lower(double own, double other) noexcept {
    return other < own || own != own ? other : own;
}

double Upper(double own, double other) noexcept {
    return other > own || own != own ? other : own;
}

} // namespace

BRect::~BRect() = default;
BBox::~BBox() = default;

void BRect::Union(BPoint const& point) noexcept {
    Union(BRect(point.X, point.Y, point.X, point.Y));
}

void BRect::Union(BRect const& other) noexcept {
    if (IsEmpty()) {
        *this = other;
        return;
    }
    if (other.IsEmpty()) {
        return;
    }
    xMin = Lower(xMin, other.xMin);
    yMin = Lower(yMin, other.yMin);
    xMax = Upper(xMax, other.xMax);
    yMax = Upper(yMax, other.yMax);
}

bool BRect::IsEmpty() const noexcept {
    return xMin > xMax && yMin > yMax;
}

bool BRect::Meets(BRect const& other) const noexcept {
    // A rectangle whose minimum is above its maximum on either axis has no point to share.
    // One decision for all eight: a selection asks this of every record, and each would be a guess.
    return (xMin <= xMax) & (yMin <= yMax) & (other.xMin <= other.xMax) &
           (other.yMin <= other.yMax) & (xMin <= other.xMax) & (other.xMin <= xMax) &
           (yMin <= other.yMax) & (other.yMin <= yMax);
}

void BBox::Union(BBox const& other) noexcept {
    BRect::Union(static_cast<BRect const&>(other));
    if (zMin > zMax) {
        zMin = other.zMin;
        zMax = other.zMax;
    } else if (!(other.zMin > other.zMax)) {
        zMin = Lower(zMin, other.zMin);
        zMax = Upper(zMax, other.zMax);
    }
}

} // namespace Ambrel
