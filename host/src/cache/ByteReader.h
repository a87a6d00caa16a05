#pragma once

#include "Ambrel/BByteStreamable.h"
#include "Ambrel/BException.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

/// Values as bytes of this machine's order; counts and lengths take seven bits a byte, the lowest
/// first, with the eighth bit set in all bytes but the last.
namespace Ambrel {

inline void AppendBytes(BByteArray& bytes, void const* data, std::size_t size) {
    auto const* const first = static_cast<std::uint8_t const*>(data);
    bytes.insert(bytes.end(), first, first + size);
}

template <class T>
void AppendValue(BByteArray& bytes, T value) {
    static_assert(std::is_arithmetic_v<T>);
    AppendBytes(bytes, &value, sizeof value);
}

inline void AppendCount(BByteArray& bytes, std::uint64_t count) {
    for (; count >= 0x80; count >>= 7) {
        bytes.push_back(static_cast<std::uint8_t>(count | 0x80));
    }
    bytes.push_back(static_cast<std::uint8_t>(count));
}

inline void AppendText(BByteArray& bytes, std::string_view text) {
    AppendCount(bytes, text.size());
    AppendBytes(bytes, text.data(), text.size());
}

/// Takes values from bytes, in the order in which they were appended. It never passes the end:
/// whatever does not fit throws BFileContentNotValidException with the operation and what was
/// wrong.
class ByteReader final {
public:
    ByteReader(char const* operationName, std::uint8_t const* bytes, std::size_t size) noexcept
        : operation(operationName), next(bytes), end(bytes + size) {}

    std::size_t Remaining() const noexcept { return static_cast<std::size_t>(end - next); }

    std::uint8_t const* Take(std::size_t size) {
        if (size > Remaining()) {
            Fail("the bytes end too early");
        }
        std::uint8_t const* const taken = next;
        next += size;
        return taken;
    }

    template <class T>
    T Value() {
        static_assert(std::is_arithmetic_v<T>);
        T value;
        std::memcpy(&value, Take(sizeof value), sizeof value);
        return value;
    }

    std::uint64_t Number() {
        std::uint64_t number = 0;
        for (unsigned shift = 0; shift < 64; shift += 7) {
            std::uint8_t const byte = *Take(1);
            number |= static_cast<std::uint64_t>(byte & 0x7FU) << shift;
            if (byte < 0x80) {
                return number;
            }
        }
        Fail("a number is too long");
    }

    /// A count of elements that take at least `elementSize` bytes each, so that no memory is asked
    /// for more elements than there can be.
    std::size_t Count(std::size_t elementSize) {
        std::uint64_t const count = Number();
        if (count > Remaining() / elementSize) {
            Fail("a count does not fit the bytes");
        }
        return static_cast<std::size_t>(count);
    }

    std::string_view Text() {
        std::size_t const size = Count(1);
        return {reinterpret_cast<char const*>(Take(size)), size};
    }

    [[noreturn]] void Fail(char const* reason) const {
        throw BFileContentNotValidException(operation, reason);
    }

private:
    char const* operation;
    std::uint8_t const* next;
    std::uint8_t const* end;
};

} // namespace Ambrel
