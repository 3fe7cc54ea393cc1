// The heap of malloc.
#include "coretools/ctplatform/heap.h"

#include <climits>
#include <cstdint>
#include <cstdlib>

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

void ctp_reserve_heap(std::size_t bytes) {
    // The C library's defaults, set again below. From the first setting on they no longer adapt to
    // use.
    constexpr int TOP_PAD = 128 * 1024;
    constexpr int MMAP_THRESHOLD = 128 * 1024;
    // A block that the heap has to grow for, in place of a mapping of its own.
    constexpr int GROWING_BLOCK = 1024 * 1024;

    auto *const start = static_cast<char *>(sbrk(0));
    mallopt(M_TRIM_THRESHOLD, INT_MAX);
    mallopt(M_MMAP_THRESHOLD, 2 * GROWING_BLOCK);
    mallopt(M_TOP_PAD, static_cast<int>(bytes));
    void *volatile block = std::malloc(GROWING_BLOCK); // volatile: the pair is not optimised away
    std::free(block);
    mallopt(M_TOP_PAD, TOP_PAD);
    mallopt(M_MMAP_THRESHOLD, MMAP_THRESHOLD);
    auto *const end = static_cast<char *>(sbrk(0));
    if (end > start) {
        const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
        const std::uintptr_t behind = reinterpret_cast<std::uintptr_t>(start) % page;
        madvise(start - behind, static_cast<std::size_t>(end - start) + behind, MADV_HUGEPAGE);
    }
}
