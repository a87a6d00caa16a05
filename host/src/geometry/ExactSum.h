#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace Ambrel {

/// The exact sum of products of finite numbers: a fixed-point number wide enough for every product
/// of two doubles, from the square of the smallest to that of the largest. It decides the sign
/// where rounded arithmetic cannot.
class ExactSum final {
public:
    void Add(double a, double b) noexcept { AddProduct(a, b, 1); }
    void Subtract(double a, double b) noexcept { AddProduct(a, b, -1); }

    /// -1, 0 or 1.
    int Sign() noexcept {
        Carry();
        for (std::size_t i = limbs.size(); i-- > 0;) {
            if (limbs[i] != 0) {
                return limbs[i] < 0 ? -1 : 1;
            }
        }
        return 0;
    }

private:
    static constexpr unsigned limbBits = 32;
    static constexpr std::uint64_t limbMask = 0xFFFFFFFF;
    static constexpr unsigned mantissaBits = 52;
    static constexpr std::uint64_t mantissaMask = (std::uint64_t{1} << mantissaBits) - 1;
    /// Each addition adds less than 2^32 to a limb at most twelve times.
    static constexpr std::uint32_t additionsBeforeCarry = std::uint32_t{1} << 26;

    /// |value| as mantissa * 2^(exponent - 1074).
    struct Parts {
        std::uint64_t mantissa;
        unsigned exponent;

        explicit Parts(double value) noexcept {
            auto const bits = std::bit_cast<std::uint64_t>(value);
            unsigned const biased = static_cast<unsigned>(bits >> mantissaBits) & 0x7FF;
            mantissa = bits & mantissaMask;
            exponent = 0;
            if (biased != 0) {
                mantissa |= mantissaMask + 1;
                exponent = biased - 1;
            }
        }
    };

    void AddProduct(double a, double b, std::int64_t sign) noexcept {
        if (a == 0 || b == 0) {
            return;
        }
        Parts const left(a);
        Parts const right(b);
        unsigned const position = left.exponent + right.exponent;
        sign = (a < 0) == (b < 0) ? sign : -sign;
        std::uint64_t const leftLow = left.mantissa & limbMask;
        std::uint64_t const leftHigh = left.mantissa >> limbBits;
        std::uint64_t const rightLow = right.mantissa & limbMask;
        std::uint64_t const rightHigh = right.mantissa >> limbBits;
        AddAt(position, leftLow * rightLow, sign);
        AddAt(position + limbBits, leftLow * rightHigh, sign);
        AddAt(position + limbBits, leftHigh * rightLow, sign);
        AddAt(position + 2 * limbBits, leftHigh * rightHigh, sign);
        if (++additions == additionsBeforeCarry) {
            Carry();
        }
    }

    /// Adds sign * value * 2^position.
    void AddAt(unsigned position, std::uint64_t value, std::int64_t sign) noexcept {
        std::size_t const limb = position / limbBits;
        unsigned const shift = position % limbBits;
        std::uint64_t const low = (value & limbMask) << shift;
        std::uint64_t const high = ((value >> limbBits) << shift) + (low >> limbBits);
        limbs[limb] += sign * static_cast<std::int64_t>(low & limbMask);
        limbs[limb + 1] += sign * static_cast<std::int64_t>(high & limbMask);
        limbs[limb + 2] += sign * static_cast<std::int64_t>(high >> limbBits);
    }

    /// Brings every limb but the highest to 0 ... 2^32 - 1, so that the highest that is not 0 has
    /// the sign of the whole.
    void Carry() noexcept {
        for (std::size_t i = 0; i + 1 < limbs.size(); ++i) {
            limbs[i + 1] += limbs[i] >> limbBits;
            limbs[i] &= static_cast<std::int64_t>(limbMask);
        }
        additions = 0;
    }

    /// The largest product ends below bit 2 * 2045 + 106; the rest is room for the sum.
    std::array<std::int64_t, 136> limbs{};
    std::uint32_t additions = 0;
};

} // namespace Ambrel
