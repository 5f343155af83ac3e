#pragma once

#include <TALVOutl/Export.h>

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

/// \file
/// Memory for large tables.

/// Memory of `size` bytes, which may lie on large pages of the system: a table of many megabytes is
/// then had and visited without a fault, and a miss, for every few kilobytes. Null when there is
/// none. std::free gives it back. Any thread.
TALVOUTL_EXPORT void* KrAllocateOnLargePages(std::size_t size);

/// A standard allocator with that memory.
template <typename Value>
struct LargePageAllocator {
    /// What a standard allocator has to name.
    using value_type = Value;

    LargePageAllocator() = default;
    /// Allocators have no state: each gives back what another has given out.
    template <typename Other>
    explicit LargePageAllocator(const LargePageAllocator<Other>&) {}

    /// Room for `count` values, which are not made. Throws std::bad_alloc.
    Value* allocate(std::size_t count) {
        void* const memory = count <= std::numeric_limits<std::size_t>::max() / sizeof(Value)
                                 ? KrAllocateOnLargePages(count * sizeof(Value))
                                 : nullptr;
        if (memory == nullptr) {
            throw std::bad_alloc();
        }
        return static_cast<Value*>(memory);
    }
    /// Gives room back.
    void deallocate(Value* memory, std::size_t) { std::free(memory); }

    friend bool operator==(const LargePageAllocator&, const LargePageAllocator&) { return true; }
    friend bool operator!=(const LargePageAllocator&, const LargePageAllocator&) { return false; }
};
