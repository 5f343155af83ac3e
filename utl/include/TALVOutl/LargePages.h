#pragma once

#include <TALVOutl/Export.h>

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

/// \file
/// Memory for large tables.

/// Memory of `size` bytes, on the system's large pages where it has them: setting up and visiting a
/// table of many megabytes then does not cost a page fault and a TLB miss every few kilobytes. Null
/// when there is none. Release it with std::free. Any thread.
TALVOUTL_EXPORT void* KrAllocateOnLargePages(std::size_t size);

/// A standard allocator with that memory.
template <typename Value>
struct LargePageAllocator {
    /// What a standard allocator has to name.
    using value_type = Value;

    LargePageAllocator() = default;
    /// Allocators have no state: each can release what another has allocated.
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
    /// Releases the room.
    void deallocate(Value* memory, std::size_t) { std::free(memory); }

    friend bool operator==(const LargePageAllocator&, const LargePageAllocator&) { return true; }
    friend bool operator!=(const LargePageAllocator&, const LargePageAllocator&) { return false; }
};
