#pragma once

#include "Ambrel/detail/SmallBlocks.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace Ambrel::detail {

/// A growing array whose owner holds a single pointer: the count, the capacity and the elements
/// stand in one allocation, and an empty array has none. Features hold several of these each, by
/// the million. Holds at most 2^32 - 1 elements (std::bad_array_new_length).
template <class T>
class FlatArray final {
public:
    FlatArray() noexcept = default;
    FlatArray(FlatArray const& other) {
        if (other.Count() == 0) {
            return;
        }
        Block* const copy = Allocate(other.Count());
        try {
            std::uninitialized_copy(other.begin(), other.end(), copy->Elements());
        } catch (...) {
            Free(copy);
            throw;
        }
        copy->count = other.block->count;
        block = copy;
    }
    FlatArray(FlatArray&& other) noexcept : block(std::exchange(other.block, nullptr)) {}
    ~FlatArray() {
        Clear();
        Free(block);
    }
    FlatArray& operator=(FlatArray other) noexcept {
        std::swap(block, other.block);
        return *this;
    }

    std::size_t Count() const noexcept { return block ? block->count : 0; }
    std::size_t Capacity() const noexcept { return block ? block->capacity : 0; }
    T* begin() noexcept { return block ? block->Elements() : nullptr; }
    T* end() noexcept { return begin() + Count(); }
    T const* begin() const noexcept { return block ? block->Elements() : nullptr; }
    T const* end() const noexcept { return begin() + Count(); }
    T& operator[](std::size_t index) noexcept { return block->Elements()[index]; }
    T const& operator[](std::size_t index) const noexcept { return block->Elements()[index]; }

    /// Makes room for `capacity` elements in all; never shrinks.
    void Reserve(std::size_t capacity) {
        if (capacity > Capacity()) {
            Grow(capacity);
        }
    }

    template <class... Args>
    T& Emplace(Args&&... args) {
        if (Count() == Capacity()) {
            // Built first: an argument may refer into this array.
            T element(std::forward<Args>(args)...);
            Grow(Capacity() == 0 ? firstCapacity : 2 * Capacity());
            return Append(std::move(element));
        }
        return Append(std::forward<Args>(args)...);
    }

    /// Adds `count` elements whose values the caller sets, and returns the first of them.
    T* Extend(std::size_t count) {
        static_assert(std::is_trivially_copyable_v<T>, "elements are left without a value");
        Reserve(Count() + count);
        T* const first = end();
        if (count > 0) {
            block->count += static_cast<std::uint32_t>(count);
        }
        return first;
    }

    /// Removes the elements and keeps the room.
    void Clear() noexcept {
        if (block) {
            std::destroy(begin(), end());
            block->count = 0;
        }
    }

private:
    struct Block {
        std::uint32_t count;
        std::uint32_t capacity;
        T* Elements() noexcept { return reinterpret_cast<T*>(this + 1); }
    };
    static_assert(alignof(T) <= sizeof(Block), "the elements follow the head without a gap");
    static constexpr std::size_t firstCapacity = 4;

    static std::size_t SizeFor(std::size_t capacity) noexcept {
        return sizeof(Block) + capacity * sizeof(T);
    }

    static void Free(Block* unused) noexcept {
        if (unused) {
            GiveBlock(unused, SizeFor(unused->capacity));
        }
    }

    static Block* Allocate(std::size_t capacity) {
        if (capacity > std::numeric_limits<std::uint32_t>::max()) {
            throw std::bad_array_new_length();
        }
        void* const memory = TakeBlock(SizeFor(capacity));
        return new (memory) Block{0, static_cast<std::uint32_t>(capacity)};
    }

    void Grow(std::size_t capacity) {
        Block* const bigger = Allocate(capacity);
        if (block) {
            std::uninitialized_move(begin(), end(), bigger->Elements());
            bigger->count = block->count;
            std::destroy(begin(), end());
            Free(block);
        }
        block = bigger;
    }

    template <class... Args>
    T& Append(Args&&... args) {
        T* const place = new (end()) T(std::forward<Args>(args)...);
        ++block->count;
        return *place;
    }

    Block* block = nullptr;
};

} // namespace Ambrel::detail
