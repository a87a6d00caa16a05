#pragma once

#include "Ambrel/Config.h"

#include <atomic>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace Ambrel {

namespace detail {

using UseCount = std::atomic<std::uint32_t>;

/// A use count of 0, from a pool of the host library. May throw std::bad_alloc.
AMBREL_API UseCount* AcquireUseCount();
/// Gives a count back to the pool. Any thread may return any count.
AMBREL_API void ReturnUseCount(UseCount* count) noexcept;

} // namespace detail

/// Shared ownership of an object by a use count that stands beside it. The last holder deletes the
/// object through its virtual destructor. Holders on several threads may share one object; one
/// holder is changed by one thread at a time.
template <class T>
class BSharedPtr final {
public:
    BSharedPtr() noexcept = default;

    /// Takes ownership of `ownObject`; if the count cannot be had (std::bad_alloc), deletes it.
    explicit BSharedPtr(T* ownObject) : object(ownObject) {
        try {
            count = detail::AcquireUseCount();
        } catch (...) {
            delete ownObject;
            throw;
        }
        count->store(1, std::memory_order_relaxed);
        owned = 1;
    }

    BSharedPtr(BSharedPtr const& other) : BSharedPtr(other, other.object) {}

    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    BSharedPtr(BSharedPtr<U> const& other) : BSharedPtr(other, other.object) {}

    /// A holder of `sameObject`, the object of `other` seen as a T, with the count of `other`.
    template <class U>
    BSharedPtr(BSharedPtr<U> const& other, T* sameObject)
        : object(sameObject), count(other.count), owned(other.owned) {
        if (!count) {
            count = detail::AcquireUseCount();
        }
        count->fetch_add(1, std::memory_order_relaxed);
    }

    BSharedPtr(BSharedPtr&& other) noexcept
        : object(std::exchange(other.object, nullptr)), count(std::exchange(other.count, nullptr)),
          owned(std::exchange(other.owned, std::uint8_t{0})) {}

    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    BSharedPtr(BSharedPtr<U>&& other) noexcept
        : object(std::exchange(other.object, nullptr)), count(std::exchange(other.count, nullptr)),
          owned(std::exchange(other.owned, std::uint8_t{0})) {}

    ~BSharedPtr() { Release(); }

    BSharedPtr& operator=(BSharedPtr const& other) {
        if (object != other.object || count != other.count) {
            BSharedPtr copy(other);
            Swap(copy);
        }
        return *this;
    }
    BSharedPtr& operator=(BSharedPtr&& other) noexcept {
        BSharedPtr taken(std::move(other));
        Swap(taken);
        return *this;
    }

    void Swap(BSharedPtr& other) noexcept {
        std::swap(object, other.object);
        std::swap(count, other.count);
        std::swap(owned, other.owned);
    }

    T* Get() const noexcept { return object; }
    T* operator->() const noexcept { return object; }
    T& operator*() const noexcept { return *object; }
    explicit operator bool() const noexcept { return object != nullptr; }

    template <class U>
    bool operator==(BSharedPtr<U> const& other) const noexcept {
        return object == other.Get();
    }

private:
    template <class U>
    friend class BSharedPtr;

    void Release() noexcept {
        if (count && count->fetch_sub(1, std::memory_order_acq_rel) == 1) {
            if (object && owned) {
                delete object;
            }
            detail::ReturnUseCount(count);
        }
    }

    T* object = nullptr;
    detail::UseCount* count = nullptr;
    std::uint8_t owned = 0; ///< 1 when the last holder deletes the object
};

} // namespace Ambrel
