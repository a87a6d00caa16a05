#include "AllocationHook.h"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::int64_t> blocks = 0;
std::atomic<std::size_t> bytes = 0;
std::atomic<std::size_t> mostBytes = 0;
std::atomic<std::uint64_t> untilFailure = 0;
std::atomic<bool> hasFailed = false;

bool ShallFail() noexcept {
    if (untilFailure.load() == 0 || --untilFailure != 0) {
        return false;
    }
    hasFailed = true;
    return true;
}

void* Give(std::size_t size, std::size_t alignment = alignof(std::max_align_t)) noexcept {
    // aligned_alloc wants whole multiples.
    std::size_t const whole =
        (std::max<std::size_t>(size, 1) + alignment - 1) / alignment * alignment;
    void* const block = ShallFail() ? nullptr : std::aligned_alloc(alignment, whole);
    if (block) {
        ++blocks;
        std::size_t const now = bytes += malloc_usable_size(block);
        mostBytes = std::max(mostBytes.load(), now);
    }
    return block;
}

void TakeBack(void* block) noexcept {
    if (block) {
        --blocks;
        bytes -= malloc_usable_size(block);
        std::free(block);
    }
}

} // namespace

// Those that are not here call one of these. The sanitizers have the forms for arrays of their own.
// Without them small objects come from pools, of which the chunks alone are seen here.
void* operator new(std::size_t size) {
    if (void* const block = Give(size)) {
        return block;
    }
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
    return operator new(size);
}
void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    return Give(size);
}
void* operator new[](std::size_t size, std::nothrow_t const&) noexcept {
    return Give(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    if (void* const block = Give(size, static_cast<std::size_t>(alignment))) {
        return block;
    }
    throw std::bad_alloc();
}
void operator delete(void* block, std::align_val_t) noexcept {
    TakeBack(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    TakeBack(block);
}
void operator delete(void* block) noexcept {
    TakeBack(block);
}
void operator delete[](void* block) noexcept {
    TakeBack(block);
}
void operator delete(void* block, std::size_t) noexcept {
    TakeBack(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    TakeBack(block);
}

namespace Ambrel::Test::Allocations {

std::int64_t LiveBlocks() noexcept {
    return blocks;
}

void FailAt(std::uint64_t number) noexcept {
    hasFailed = false;
    untilFailure = number;
}

bool StopFailing() noexcept {
    untilFailure = 0;
    return hasFailed;
}

Peak::Peak() noexcept : before(bytes) {
    mostBytes = before;
}

std::size_t Peak::Bytes() const noexcept {
    return mostBytes - before;
}

} // namespace Ambrel::Test::Allocations
