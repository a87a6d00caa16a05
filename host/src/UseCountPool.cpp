#include "Ambrel/BSharedPtr.h"

#include <cstddef>
#include <mutex>
#include <new>

// A use count is four bytes, and every feature, geometry and member of an aggregate has one: the
// general allocator would spend 32 bytes and most of the time of a release on each. Under a
// sanitizer that watches memory the counts come from it all the same, so that it sees misuse.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) ||                         \
    __has_feature(memory_sanitizer)
#define AMBREL_PLAIN_USE_COUNTS
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define AMBREL_PLAIN_USE_COUNTS
#endif

namespace Ambrel::detail {

#if defined(AMBREL_PLAIN_USE_COUNTS)

UseCount* AcquireUseCount() {
    return new UseCount(0);
}
void ReturnUseCount(UseCount* count) noexcept {
    delete count;
}

#else

namespace {

/// Room for one count; while it is free, a link of a list of free cells.
union Cell {
    Cell* next;
    UseCount count;
};
static_assert(sizeof(Cell) == sizeof(Cell*));

constexpr std::size_t cellsPerChunk = 4096 / sizeof(Cell);
/// So many returned cells stay with their thread before other threads may have them.
constexpr std::size_t returnedLimit = 1024;

/// Free cells, one after the other. Both ends are known, so that a chain of any length is handed on
/// at one stroke.
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
    Cell* Pop() noexcept { return std::exchange(first, first->next); }
};

/// What all threads share. Chunks are never given back; they hang together by their first cells, so
/// that a leak checker reaches every one.
class SharedCells final {
public:
    void Give(Chain const& chain) noexcept {
        if (chain.first) {
            std::lock_guard const lock(mutex);
            free.Prepend(chain);
        }
    }

    /// At least one cell: all that are free here, or those of a new chunk.
    /// May throw std::bad_alloc.
    Chain TakeAll() {
        std::lock_guard const lock(mutex);
        return free.first ? std::exchange(free, Chain()) : NewChunk();
    }

    /// One cell, for a thread that keeps none. May throw std::bad_alloc.
    Cell* TakeOne() {
        std::lock_guard const lock(mutex);
        if (!free.first) {
            free = NewChunk();
        }
        return free.Pop();
    }

private:
    Chain NewChunk() {
        Cell* const chunk = static_cast<Cell*>(::operator new(cellsPerChunk * sizeof(Cell)));
        for (std::size_t i = 1; i < cellsPerChunk; ++i) {
            chunk[i].next = i + 1 < cellsPerChunk ? chunk + i + 1 : nullptr;
        }
        chunk[0].next = chunks;
        chunks = chunk;
        return {chunk + 1, chunk + cellsPerChunk - 1};
    }

    std::mutex mutex;
    Chain free;
    Cell* chunks = nullptr;
};

/// Never destroyed: holders that are static return their counts after everything else has gone.
union SharedCellsForever {
    SharedCells cells;
    constexpr SharedCellsForever() noexcept : cells() {}
    ~SharedCellsForever() {}
};
constinit SharedCellsForever forever;

enum class ThreadState : unsigned char { New, Running, Ended };

/// The free cells of one thread. It has no destructor, so that it can still be asked after the
/// thread's other variables have gone.
struct ThreadCells {
    Chain taken;    ///< from the shared cells
    Chain returned; ///< by this thread, the latest first
    std::size_t returnedCount = 0;
    ThreadState state = ThreadState::New;

    void GiveReturned() noexcept {
        forever.cells.Give(std::exchange(returned, Chain()));
        returnedCount = 0;
    }
};
constinit thread_local ThreadCells threadCells;

/// Hands the thread's cells over when it ends.
struct AtThreadEnd {
    void Arm() noexcept { threadCells.state = ThreadState::Running; }
    ~AtThreadEnd() {
        threadCells.GiveReturned();
        forever.cells.Give(std::exchange(threadCells.taken, Chain()));
        threadCells.state = ThreadState::Ended;
    }
};
thread_local AtThreadEnd atThreadEnd;

Cell* AcquireFromShared(ThreadCells& own) {
    if (own.state == ThreadState::Ended) {
        return forever.cells.TakeOne();
    }
    atThreadEnd.Arm();
    own.taken = forever.cells.TakeAll();
    return own.taken.Pop();
}

Cell* AcquireCell(ThreadCells& own) {
    if (own.returned.first) {
        --own.returnedCount;
        return own.returned.Pop();
    }
    if (own.taken.first) {
        return own.taken.Pop();
    }
    return AcquireFromShared(own);
}

/// The way of the first count and of those that come after the thread's end.
void ReturnOutsideRun(ThreadCells& own, Cell* cell) noexcept {
    if (own.state == ThreadState::Ended) {
        forever.cells.Give({cell, cell});
        return;
    }
    atThreadEnd.Arm();
    own.returned.Push(cell);
    own.returnedCount = 1;
}

} // namespace

UseCount* AcquireUseCount() {
    return new (&AcquireCell(threadCells)->count) UseCount(0);
}

void ReturnUseCount(UseCount* count) noexcept {
    Cell* const cell = reinterpret_cast<Cell*>(count);
    ThreadCells& own = threadCells;
    if (own.state != ThreadState::Running) {
        ReturnOutsideRun(own, cell);
        return;
    }
    own.returned.Push(cell);
    if (++own.returnedCount == returnedLimit) {
        own.GiveReturned();
    }
}

#endif

} // namespace Ambrel::detail
