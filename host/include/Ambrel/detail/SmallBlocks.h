#pragma once

#include "Ambrel/Config.h"

#include <cstddef>
#include <new>

namespace Ambrel::detail {

/// Memory for what features consist of by the million: texts, vertices, attributes, the objects
/// themselves. A block has no head of its own, and blocks of one size lie side by side. A block
/// that is given back serves again for its size; the memory stays with the process, for the next
/// layer.
///
/// May be called from any thread, and a block may be given back by another one than took it. Blocks
/// are aligned to 8 bytes, those of a multiple of 16 bytes to 16. May throw std::bad_alloc.
AMBREL_API void* TakeBlock(std::size_t size);
/// REQUIRES: `size` is what the block was taken with. A null block is nothing.
AMBREL_API void GiveBlock(void* block, std::size_t size) noexcept;

/// Base of classes whose objects are such blocks. Classes derived from it are destroyed through a
/// virtual destructor, so that the size given back is that of the whole object.
class SmallObject {
public:
    static void* operator new(std::size_t size) { return TakeBlock(size); }
    static void operator delete(void* object, std::size_t size) noexcept {
        GiveBlock(object, size);
    }
    /// Of derived classes that need more than 16 bytes.
    static void* operator new(std::size_t size, std::align_val_t alignment) {
        return ::operator new(size, alignment);
    }
    static void operator delete(void* object, std::size_t /*size*/,
                                std::align_val_t alignment) noexcept {
        ::operator delete(object, alignment);
    }

protected:
    SmallObject() noexcept = default;
    SmallObject(SmallObject const&) noexcept = default;
    SmallObject& operator=(SmallObject const&) noexcept = default;
    ~SmallObject() = default;
};

} // namespace Ambrel::detail
