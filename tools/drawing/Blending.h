#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace Ambrel::Tool {

/// All four bytes of a premultiplied pixel times `factor` / 255, rounded.
inline std::uint32_t ScalePixel(std::uint32_t pixel, std::uint32_t factor) noexcept {
    auto const twoBytes = [=](std::uint32_t bytes) {
        std::uint32_t const product = bytes * factor;
        return (product + ((product >> 8) & 0xFF00FF) + 0x800080) >> 8 & 0xFF00FF;
    };
    return twoBytes(pixel & 0xFF00FF) | twoBytes(pixel >> 8 & 0xFF00FF) << 8;
}

/// Lays a premultiplied pixel over another.
inline void PutOver(std::uint32_t top, std::uint32_t& pixel) noexcept {
    std::uint32_t const opacity = top >> 24;
    if (opacity == 255) { // most of a shape, and all that most of its pixels cost
        pixel = top;
    } else if (opacity > 0) {
        pixel = top + ScalePixel(pixel, 255 - opacity);
    }
}

inline void PutOver(std::uint32_t top, std::uint32_t* pixels, std::size_t count) noexcept {
    if (top >> 24 == 255) {
        std::fill_n(pixels, count, top);
    } else {
        std::for_each(pixels, pixels + count, [=](std::uint32_t& pixel) { PutOver(top, pixel); });
    }
}

} // namespace Ambrel::Tool
