// Allocation of the toolkit's objects, each with a header that names its memory manager.
#pragma once

#include <cstddef>

class btkMemMgr;

// The manager of the thread library's objects. Null, which stands for malloc, until the start-up
// objects are built.
extern btkMemMgr *pDefMemMgr;

// Returns `size` bytes from the manager, or from malloc if it is null; 8-byte aligned, not cleared.
// Null if there is no memory.
[[nodiscard]] void *btkNew(std::size_t size, btkMemMgr *manager) noexcept;

// Returns a block of btkNew to where it came from. Null is allowed.
void btkDelete(void *object) noexcept;

// Base of every class that is allocated this way. A new expression yields null, without running
// the constructor, if there is no memory.
struct btkAllocated {
    static void *operator new(std::size_t size) noexcept { return btkNew(size, pDefMemMgr); }
    static void *operator new(std::size_t size, btkMemMgr *manager) noexcept {
        return btkNew(size, manager);
    }
    static void *operator new[](std::size_t size, btkMemMgr *manager) noexcept {
        return btkNew(size, manager);
    }
    static void operator delete(void *object) noexcept { btkDelete(object); }
    static void operator delete[](void *object) noexcept { btkDelete(object); }
};
