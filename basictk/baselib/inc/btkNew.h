// Allocation of the toolkit's objects: a header in front of each names the manager it came from.
#pragma once

#include <cstddef>

class btkMemMgr;

// The manager of the thread library's own objects; null until the start-up objects are built, and
// a null manager means malloc.
extern btkMemMgr *pDefMemMgr;

// Answers size bytes, 8-byte aligned and not cleared, taken from the manager (null: from malloc);
// null when there is no memory.
[[nodiscard]] void *btkNew(std::size_t size, btkMemMgr *manager) noexcept;

// Gives a block of btkNew back to where it came from; null is allowed.
void btkDelete(void *object) noexcept;

// Base of every class that is allocated this way. The forms are noexcept: a new expression answers
// null, without running the constructor, when there is no memory.
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
