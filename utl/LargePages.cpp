#include "TALVOutl/LargePages.h"

#include <cstdlib>

#include <sys/mman.h>

namespace {

constexpr std::size_t kLargePage = std::size_t{2} << 20;

} // namespace

void* KrAllocateOnLargePages(std::size_t size) {
    // One that is not even half full is not worth its memory.
    if (size < kLargePage / 2) {
        return std::malloc(size);
    }
    const std::size_t whole = (size + kLargePage - 1) / kLargePage * kLargePage;
    void* const memory = std::aligned_alloc(kLargePage, whole);
    if (memory != nullptr) {
        // Advice only: a system without large pages gives small ones.
        static_cast<void>(madvise(memory, whole, MADV_HUGEPAGE));
    }
    return memory;
}
