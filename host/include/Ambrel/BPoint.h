#pragma once

#include "Ambrel/Config.h"
#include "Ambrel/detail/FlatArray.h"

#include <cstdint>

namespace Ambrel {

/// A position in map units.
class BPoint final {
public:
    double X = 0.0;
    double Y = 0.0;
    double Z = 0.0;

    BPoint() noexcept = default;
    BPoint(double x, double y, double z = 0.0) noexcept : X(x), Y(y), Z(z) {}
    bool operator==(BPoint const& other) const noexcept {
        return X == other.X && Y == other.Y && Z == other.Z;
    }
};

/// A list of vertices.
class BPoints final {
public:
    void Add(BPoint const& point) { points.Emplace(point); }
    void Reserve(std::uint64_t count) { points.Reserve(count); }
    /// Adds `count` vertices whose coordinates the caller sets, and returns the first of them.
    BPoint* Extend(std::uint64_t count) { return points.Extend(count); }
    void Clear() noexcept { points.Clear(); }
    std::uint64_t GetCount() const noexcept { return points.Count(); }
    /// REQUIRES: index < GetCount().
    BPoint& GetAt(std::uint64_t index) noexcept { return points[index]; }
    BPoint const& GetAt(std::uint64_t index) const noexcept { return points[index]; }
    /// REQUIRES: GetCount() > 0.
    BPoint const& GetLast() const noexcept { return points[points.Count() - 1]; }
    BPoint* begin() noexcept { return points.begin(); }
    BPoint* end() noexcept { return points.end(); }
    BPoint const* begin() const noexcept { return points.begin(); }
    BPoint const* end() const noexcept { return points.end(); }

private:
    detail::FlatArray<BPoint> points;
};

} // namespace Ambrel
