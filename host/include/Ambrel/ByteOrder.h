#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

/// Reading and writing of integers and doubles in a given byte order, from and to any address.
/// "Big" and "Little" are the byte order of the stored value.
namespace Ambrel {

namespace detail {

template <class T>
constexpr T SwapBytes(T value) noexcept {
    if constexpr (sizeof(T) == 2) {
        return static_cast<T>((value >> 8) | (value << 8));
    } else if constexpr (sizeof(T) == 4) {
        return ((value >> 24) & 0xFFU) | ((value >> 8) & 0xFF00U) | ((value << 8) & 0xFF0000U) |
               (value << 24);
    } else {
        return (static_cast<T>(SwapBytes(static_cast<std::uint32_t>(value))) << 32) |
               SwapBytes(static_cast<std::uint32_t>(value >> 32));
    }
}

template <class T, std::endian Stored>
T Load(void const* source) noexcept {
    T value;
    std::memcpy(&value, source, sizeof value);
    return Stored == std::endian::native ? value : SwapBytes(value);
}

template <class T, std::endian Stored>
void Store(void* destination, T value) noexcept {
    T const stored = Stored == std::endian::native ? value : SwapBytes(value);
    std::memcpy(destination, &stored, sizeof stored);
}

} // namespace detail

inline std::int32_t POSH_ReadI32FromBig(void const* source) noexcept {
    return static_cast<std::int32_t>(detail::Load<std::uint32_t, std::endian::big>(source));
}
inline std::uint32_t POSH_ReadU32FromBig(void const* source) noexcept {
    return detail::Load<std::uint32_t, std::endian::big>(source);
}
inline std::int32_t POSH_ReadI32FromLittle(void const* source) noexcept {
    return static_cast<std::int32_t>(detail::Load<std::uint32_t, std::endian::little>(source));
}
inline std::uint32_t POSH_ReadU32FromLittle(void const* source) noexcept {
    return detail::Load<std::uint32_t, std::endian::little>(source);
}
inline std::uint16_t POSH_ReadU16FromLittle(void const* source) noexcept {
    return detail::Load<std::uint16_t, std::endian::little>(source);
}

inline void POSH_WriteI32ToBig(void* destination, std::int32_t value) noexcept {
    detail::Store<std::uint32_t, std::endian::big>(destination, static_cast<std::uint32_t>(value));
}
inline void POSH_WriteU32ToBig(void* destination, std::uint32_t value) noexcept {
    detail::Store<std::uint32_t, std::endian::big>(destination, value);
}
inline void POSH_WriteI32ToLittle(void* destination, std::int32_t value) noexcept {
    detail::Store<std::uint32_t, std::endian::little>(destination,
                                                      static_cast<std::uint32_t>(value));
}
inline void POSH_WriteU32ToLittle(void* destination, std::uint32_t value) noexcept {
    detail::Store<std::uint32_t, std::endian::little>(destination, value);
}
inline void POSH_WriteU16ToLittle(void* destination, std::uint16_t value) noexcept {
    detail::Store<std::uint16_t, std::endian::little>(destination, value);
}

/// The double whose 8 bytes, stored little-endian, were loaded unchanged into the argument.
inline double ReadDoubleFromLittle(double stored) noexcept {
    return std::bit_cast<double>(detail::Load<std::uint64_t, std::endian::little>(&stored));
}
/// Stores the double little-endian.
inline void WriteDoubleToLittle(void* destination, double value) noexcept {
    detail::Store<std::uint64_t, std::endian::little>(destination,
                                                      std::bit_cast<std::uint64_t>(value));
}

} // namespace Ambrel
