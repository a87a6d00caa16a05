#pragma once

#include <atomic>
#include <cstdint>

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#define AMBREL_KNOWS_SINGLE_THREAD
#endif

namespace Ambrel::detail {

/// How many holders an immutable text or list has.
///
/// Reading a layer counts a dozen times for each feature. An atomic operation takes as long as some
/// twenty plain ones, so there is none while the process has a single thread.
class HolderCount final {
public:
    explicit HolderCount(std::uint32_t first) noexcept : holders(first) {}

    void Increment() noexcept {
        if (IsSingleThreaded()) {
            holders.store(holders.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        } else {
            holders.fetch_add(1, std::memory_order_relaxed);
        }
    }
    /// Whether that was the last holder.
    bool Decrement() noexcept {
        if (IsSingleThreaded()) {
            std::uint32_t const left = holders.load(std::memory_order_relaxed) - 1;
            holders.store(left, std::memory_order_relaxed);
            return left == 0;
        }
        return holders.fetch_sub(1, std::memory_order_acq_rel) == 1;
    }

private:
    static bool IsSingleThreaded() noexcept {
#if defined(AMBREL_KNOWS_SINGLE_THREAD)
        return __libc_single_threaded != 0;
#else
        return false;
#endif
    }

    std::atomic<std::uint32_t> holders;
};

} // namespace Ambrel::detail
