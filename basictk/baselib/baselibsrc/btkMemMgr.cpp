// Memory by size class.
#include "basictk/baselib/inc/btkMemMgr.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

//  block               data
//  | header, 4 words   | size bytes ... |
struct alignas(std::max_align_t) btkBlock {
    const btkBaseMMgr *owner; // null while the block is free
    std::size_t size;
    btkBlock **list; // the free list of its class; null for a block from malloc
    void *link;      // the next block of that list, or what free() takes
};

struct alignas(btkBlock) btkChunk {
    btkChunk *older;
};

namespace {

constexpr std::size_t ALIGNMENT = alignof(btkBlock);

btkBlock *alloc_large(std::size_t size, std::size_t alignment) {
    const std::size_t extra = sizeof(btkBlock) + alignment;
    void *allocation = size <= SIZE_MAX - extra ? std::malloc(size + extra) : nullptr;
    if (allocation == nullptr) {
        return nullptr;
    }
    void *data = static_cast<btkBlock *>(allocation) + 1;
    std::size_t space = size + alignment;
    std::align(alignment, size, data, space);
    return new (static_cast<btkBlock *>(data) - 1) btkBlock{nullptr, size, nullptr, allocation};
}

} // namespace

btkBaseMMgr::~btkBaseMMgr() {
    while (chunks != nullptr) {
        std::free(std::exchange(chunks, chunks->older));
    }
}

std::size_t btkBaseMMgr::GetSize(const void *memory) const {
    return memory != nullptr ? (static_cast<const btkBlock *>(memory) - 1)->size : 0;
}

void *btkBaseMMgr::AllocMem(std::size_t size, int alignment) {
    const auto unit = static_cast<std::size_t>(alignment);
    if (alignment <= 0 || !std::has_single_bit(unit)) {
        return nullptr;
    }
    size = std::max<std::size_t>(size, 1);
    btkBlock *block = size <= BTK_POOL_SIZE && unit <= ALIGNMENT
                          ? AllocSmall(size)
                          : alloc_large(size, std::max(unit, ALIGNMENT));
    if (block == nullptr) {
        return nullptr;
    }
    block->owner = this;
    return block + 1;
}

btkBlock *btkBaseMMgr::AllocSmall(std::size_t size) {
    const int sizeClass = ClassFor(size);
    const thrMutexGuard guard(lock);
    btkBlock *&first = lists[sizeClass];
    if (first != nullptr) {
        return std::exchange(first, static_cast<btkBlock *>(first->link));
    }
    const auto blockSize = static_cast<std::size_t>(BlockSize(sizeClass));
    const std::size_t whole =
        sizeof(btkBlock) + (blockSize + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;
    if (whole > BTK_CHUNK_SIZE - used) {
        void *chunk = std::malloc(BTK_CHUNK_SIZE);
        if (chunk == nullptr) {
            return nullptr;
        }
        chunks = new (chunk) btkChunk{chunks};
        used = sizeof(btkChunk);
    }
    char *place = reinterpret_cast<char *>(chunks) + used;
    used += whole;
    return new (place) btkBlock{nullptr, blockSize, &first, nullptr};
}

void btkBaseMMgr::FreeMem(void *memory) {
    if (memory == nullptr) {
        return;
    }
    btkBlock *block = static_cast<btkBlock *>(memory) - 1;
    const thrMutexGuard guard(lock);
    if (std::exchange(block->owner, nullptr) != this) {
        btkAbort("btkBaseMMgr::FreeMem");
    }
    if (block->list == nullptr) {
        std::free(block->link);
    } else {
        block->link = std::exchange(*block->list, block);
    }
}

int btkPow2MMgr::ClassFor(std::size_t size) const {
    return static_cast<int>(std::bit_width(size - 1));
}

// The size is halved until less than 15 units are left. A class is the number of halvings, in
// steps of 16, plus the units.
constexpr std::size_t CLASS_UNIT = 8;
constexpr std::size_t CLASS_LIMIT = 15 * CLASS_UNIT;

int btkPoolMMgr::ClassOfSize(std::size_t size) {
    std::size_t rest = size + CLASS_UNIT - 1;
    int halvings = 0;
    while (rest >= CLASS_LIMIT) {
        rest = (rest + CLASS_UNIT) / 2;
        ++halvings;
    }
    return 16 * halvings + static_cast<int>(rest / CLASS_UNIT);
}

int btkPoolMMgr::SizeOfClass(int sizeClass) {
    return static_cast<int>(CLASS_UNIT) * (sizeClass % 16) << (sizeClass / 16);
}
