#include "Ambrel/detail/SmallBlocks.h"

#include "Ambrel/BSharedPtr.h"

#include <array>
#include <mutex>
#include <new>
#include <utility>

// Under a sanitizer that watches memory, blocks come from the general allocator, so that it sees
// misuse. ThreadSanitizer is to see how blocks pass between threads.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(memory_sanitizer)
#define AMBREL_PLAIN_BLOCKS
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define AMBREL_PLAIN_BLOCKS
#endif

namespace Ambrel::detail {

UseCount* AcquireUseCount() {
    return new (TakeBlock(sizeof(UseCount))) UseCount(0);
}

void ReturnUseCount(UseCount* count) noexcept {
    GiveBlock(count, sizeof(UseCount));
}

#if defined(AMBREL_PLAIN_BLOCKS)

void* TakeBlock(std::size_t size) {
    return ::operator new(size);
}
void GiveBlock(void* block, std::size_t /*size*/) noexcept {
    ::operator delete(block);
}

#else

namespace {

constexpr std::size_t granule = 8;
/// Larger blocks, long arrays of vertices above all, come from the general allocator, which lays
/// those of one feature side by side.
constexpr std::size_t maxBlockSize = 256;
constexpr std::size_t sizeCount = maxBlockSize / granule + 1;
/// A size takes its blocks from the common memory in runs of so many bytes.
constexpr std::size_t runSize = std::size_t{32} * 1024;
/// The common memory grows by so many bytes.
constexpr std::size_t chunkSize = std::size_t{1024} * 1024;
/// So many returned blocks of a size stay with their thread before other threads may have them.
constexpr std::size_t returnedLimit = 1024;

constexpr std::size_t SizeIndex(std::size_t size) noexcept {
    return size == 0 ? 1 : (size + granule - 1) / granule;
}

/// A free block: a link of a list.
struct Cell {
    Cell* next;
};
static_assert(sizeof(Cell) <= granule);

/// Free blocks of one size, one after the other. Both ends are known, so that a chain of any length
/// is handed on at one stroke.
struct Chain {
    Cell* first = nullptr;
    Cell* last = nullptr;

    void Push(Cell* cell) noexcept { Prepend({cell, cell}); }
    /// REQUIRES: `other` is not empty.
    void Prepend(Chain const& other) noexcept {
        other.last->next = first;
        if (!first) {
            last = other.last;
        }
        first = other.first;
    }
    /// REQUIRES: the chain is not empty.
    Cell* Pop() noexcept {
        Cell* const cell = std::exchange(first, first->next);
#if defined(__GNUC__)
        // A returned block has often left the caches; it is back by the time it is taken.
        __builtin_prefetch(first, 1);
#endif
        return cell;
    }
};

/// What all threads share. Chunks are never given back; they hang together by their first words, so
/// that a leak checker reaches every one.
class SharedBlocks final {
public:
    void Give(std::size_t index, Chain const& chain) noexcept {
        if (chain.first) {
            std::lock_guard const lock(mutex);
            free[index].Prepend(chain);
        }
    }

    /// At least one block: all that are free here, or those of a new run. May throw std::bad_alloc.
    Chain TakeAll(std::size_t index) {
        std::lock_guard const lock(mutex);
        return free[index].first ? std::exchange(free[index], Chain()) : NewRun(index);
    }

    /// One block, for a thread that keeps none. May throw std::bad_alloc.
    Cell* TakeOne(std::size_t index) {
        std::lock_guard const lock(mutex);
        if (!free[index].first) {
            free[index] = NewRun(index);
        }
        return free[index].Pop();
    }

private:
    Chain NewRun(std::size_t index) {
        if (static_cast<std::size_t>(end - next) < runSize) {
            NewChunk();
        }
        std::size_t const size = index * granule;
        std::size_t const count = runSize / size;
        auto const cellAt = [&](std::size_t i) { return reinterpret_cast<Cell*>(next + i * size); };
        for (std::size_t i = 0; i < count; ++i) {
            cellAt(i)->next = i + 1 < count ? cellAt(i + 1) : nullptr;
        }
        Chain const run = {cellAt(0), cellAt(count - 1)};
        next += runSize;
        return run;
    }

    void NewChunk() {
        auto* const chunk =
            static_cast<char*>(::operator new (chunkSize, std::align_val_t{chunkSize}));
        *reinterpret_cast<char**>(chunk) = chunks;
        chunks = chunk;
        next = chunk + 2 * granule;
        end = chunk + chunkSize;
    }

    std::mutex mutex;
    std::array<Chain, sizeCount> free{};
    char* next = nullptr; ///< what is left of the last chunk
    char* end = nullptr;
    char* chunks = nullptr;
};

/// Never destroyed: objects that are static return their blocks after everything else has gone.
union SharedBlocksForever {
    SharedBlocks blocks;
    constexpr SharedBlocksForever() noexcept : blocks() {}
    ~SharedBlocksForever() {}
};
constinit SharedBlocksForever forever;

/// The free blocks of one size that one thread has.
struct OwnBlocks {
    Chain taken;    ///< from the shared ones
    Chain returned; ///< by this thread, the latest first
    std::size_t returnedCount = 0;
};

/// The free blocks of one thread.
struct ThreadBlocks {
    std::array<OwnBlocks, sizeCount> sizes{};

    void GiveReturned(std::size_t index) noexcept {
        OwnBlocks& own = sizes[index];
        forever.blocks.Give(index, std::exchange(own.returned, Chain()));
        own.returnedCount = 0;
    }
};

#if defined(__GNUC__)
/// Found without a call, in memory that every thread has from its start. There is little of that
/// for libraries that are loaded late: enough for a pointer.
#define AMBREL_QUICK_THREAD_LOCAL __attribute__((tls_model("initial-exec"))) thread_local
#else
#define AMBREL_QUICK_THREAD_LOCAL thread_local
#endif
/// Null before the thread's first block, and again after the thread's other variables have gone.
constinit AMBREL_QUICK_THREAD_LOCAL ThreadBlocks* threadBlocks = nullptr;
/// Outside the owner, which is gone by the time that this is asked.
constinit thread_local bool hasThreadEnded = false;

/// Owns the thread's blocks, and hands them over when the thread ends.
class ThreadBlocksOwner {
public:
    /// Null when there is no memory, and when the thread has ended.
    ThreadBlocks* Make() noexcept {
        if (!hasThreadEnded && !threadBlocks) {
            threadBlocks = new (std::nothrow) ThreadBlocks;
        }
        return threadBlocks;
    }
    ~ThreadBlocksOwner() {
        hasThreadEnded = true;
        if (!threadBlocks) {
            return;
        }
        for (std::size_t index = 0; index < sizeCount; ++index) {
            threadBlocks->GiveReturned(index);
            forever.blocks.Give(index, std::exchange(threadBlocks->sizes[index].taken, Chain()));
        }
        delete std::exchange(threadBlocks, nullptr);
    }
};
thread_local ThreadBlocksOwner threadBlocksOwner;

ThreadBlocks* FindThreadBlocks() noexcept {
    return threadBlocks ? threadBlocks : threadBlocksOwner.Make();
}

Cell* TakeFromShared(OwnBlocks& own, std::size_t index) {
    own.taken = forever.blocks.TakeAll(index);
    return own.taken.Pop();
}

} // namespace

void* TakeBlock(std::size_t size) {
    if (size > maxBlockSize) {
        return ::operator new(size);
    }
    std::size_t const index = SizeIndex(size);
    ThreadBlocks* const blocks = FindThreadBlocks();
    if (!blocks) {
        return forever.blocks.TakeOne(index);
    }
    OwnBlocks& own = blocks->sizes[index];
    if (own.returned.first) {
        --own.returnedCount;
        return own.returned.Pop();
    }
    return own.taken.first ? own.taken.Pop() : TakeFromShared(own, index);
}

void GiveBlock(void* block, std::size_t size) noexcept {
    if (!block) {
        return;
    }
    if (size > maxBlockSize) {
        ::operator delete(block);
        return;
    }
    std::size_t const index = SizeIndex(size);
    Cell* const cell = new (block) Cell{nullptr};
    ThreadBlocks* const blocks = FindThreadBlocks();
    if (!blocks) {
        forever.blocks.Give(index, {cell, cell});
        return;
    }
    OwnBlocks& own = blocks->sizes[index];
    own.returned.Push(cell);
    if (++own.returnedCount == returnedLimit) {
        blocks->GiveReturned(index);
    }
}

#endif

} // namespace Ambrel::detail
