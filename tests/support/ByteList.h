#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace Ambrel::Test {

using Bytes = std::vector<std::uint8_t>;

/// Bytes put together value by value, in the byte orders that shapefiles mix:
/// `ByteList().Little32(1).Real(10).Real(20)`.
class ByteList {
public:
    ByteList& Byte(std::uint8_t value) { return Append({value}); }
    ByteList& Little16(std::uint16_t value) { return Little(value, 2); }
    ByteList& Little32(std::uint32_t value) { return Little(value, 4); }
    ByteList& Big32(std::uint32_t value) {
        Little(value, 4);
        std::reverse(bytes.end() - 4, bytes.end());
        return *this;
    }
    ByteList& Real(double value) { return Little(std::bit_cast<std::uint64_t>(value), 8); }
    ByteList& Reals(std::vector<double> const& values) {
        for (double value : values) {
            Real(value);
        }
        return *this;
    }
    ByteList& Text(std::string_view text) { return Append({text.begin(), text.end()}); }
    ByteList& Fill(std::size_t count, std::uint8_t value = 0) {
        return Append(Bytes(count, value));
    }
    ByteList& Append(Bytes const& other) {
        bytes.insert(bytes.end(), other.begin(), other.end());
        return *this;
    }
    /// Puts bytes over those at an offset; std::invalid_argument where there are none.
    ByteList& Put(std::size_t offset, Bytes const& others) {
        if (offset + others.size() > bytes.size()) {
            throw std::invalid_argument("there are no bytes to put others over");
        }
        std::copy(others.begin(), others.end(),
                  bytes.begin() + static_cast<std::ptrdiff_t>(offset));
        return *this;
    }
    /// Keeps the first `size` bytes.
    ByteList& Cut(std::size_t size) {
        bytes.resize(std::min(size, bytes.size()));
        return *this;
    }
    std::size_t Size() const { return bytes.size(); }
    operator Bytes const&() const { return bytes; }

private:
    ByteList& Little(std::uint64_t value, int size) {
        for (int i = 0; i < size; ++i) {
            Byte(static_cast<std::uint8_t>(value >> (8 * i)));
        }
        return *this;
    }

    Bytes bytes;
};

} // namespace Ambrel::Test
