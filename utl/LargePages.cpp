#include "TALVOutl/LargePages.h"

#include <cstdlib>

#include <sys/mman.h>

namespace {

constexpr std::size_t kLargePage = std::size_t{2} << 20;

} // namespace

void* KrAllocateOnLargePages(std::size_t size) {
    // One that is not even half full is not worth its memory, nor the time to clear it.
    const std::size_t onLargePages = (size + kLargePage / 2) / kLargePage * kLargePage;
    if (onLargePages == 0) {
        return std::malloc(size);
    }
    void* const memory =
        std::aligned_alloc(kLargePage, (size + kLargePage - 1) / kLargePage * kLargePage);
    if (memory != nullptr) {
        // Advice only: a system without large pages gives small ones.
        static_cast<void>(madvise(memory, onLargePages, MADV_HUGEPAGE));
    }
    return memory;
}
