#pragma once

#include <cstdint>

namespace Ambrel::Bench {

/// Random numbers that are the same on every machine (splitmix64).
class Random {
public:
    explicit Random(std::uint64_t seed) : state(seed) {}

    std::uint64_t Next() {
        state += 0x9E3779B97F4A7C15U;
        std::uint64_t mixed = state;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9U;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBU;
        return mixed ^ (mixed >> 31);
    }
    /// A number from `low` up to, but not including, `high`.
    double Between(double low, double high) {
        return low + (high - low) * (static_cast<double>(Next() >> 11) * 0x1p-53);
    }
    std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(Next() % limit); }

private:
    std::uint64_t state;
};

} // namespace Ambrel::Bench
