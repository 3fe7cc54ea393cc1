// The memory managers: interface defaults, malloc, and blocks by size class.
#include "basictk/baselib/inc/btkMemMgr.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <utility>

//  block               data
//  | header, 4 words   | size bytes ... |
struct alignas(std::max_align_t) btkBlock {
    const btkBaseMMgr *owner; // null while the block is free
    std::size_t size;
    btkBlock *next;   // in its free list
    void *allocation; // what free() takes; null for a block of a chunk
};

struct btkChunk {
    btkChunk *older;
};

namespace {

constexpr int END_OF_LISTS = -1;
constexpr std::size_t ALIGNMENT = alignof(btkBlock);

std::size_t round_up(std::size_t size, std::size_t unit) {
    return (size + unit - 1) & ~(unit - 1);
}

btkBlock *block_of(void *memory) {
    return static_cast<btkBlock *>(memory) - 1;
}

} // namespace

std::size_t btkMemMgr::GetSize(const void *) const {
    return 0;
}

void *btkMemMgr::AllocMem(std::size_t, int) {
    btkAbort("btkMemMgr::AllocMem");
}

void btkMemMgr::FreeMem(void *) {
    btkAbort("btkMemMgr::FreeMem");
}

void *btkDefMemMgr::AllocMem(std::size_t size, int) {
    return std::malloc(size);
}

void btkDefMemMgr::FreeMem(void *memory) {
    std::free(memory);
}

btkBaseMMgr::~btkBaseMMgr() {
    while (chunks != nullptr) {
        std::free(std::exchange(chunks, chunks->older));
    }
}

std::size_t btkBaseMMgr::GetSize(const void *memory) const {
    return memory != nullptr ? (static_cast<const btkBlock *>(memory) - 1)->size : 0;
}

void *btkBaseMMgr::AllocMem(std::size_t size, int alignment) {
    if (alignment <= 0 || !std::has_single_bit(static_cast<unsigned>(alignment))) {
        return nullptr;
    }
    size = std::max<std::size_t>(size, 1);
    const thrMutexGuard guard(lock);
    btkBlock *block = nullptr;
    if (size > BTK_POOL_SIZE || static_cast<std::size_t>(alignment) > ALIGNMENT) {
        block = AllocLarge(size, std::max(static_cast<std::size_t>(alignment), ALIGNMENT));
    } else {
        btkFreeList &list = lists[SizeClass(size)];
        block = list.first;
        if (block != nullptr) {
            list.first = block->next;
        } else {
            block = CutBlock(static_cast<std::size_t>(list.blockSize));
        }
    }
    if (block == nullptr) {
        return nullptr;
    }
    block->owner = this;
    return block + 1;
}

btkBlock *btkBaseMMgr::CutBlock(std::size_t size) {
    const std::size_t whole = sizeof(btkBlock) + round_up(size, ALIGNMENT);
    if (whole > BTK_CHUNK_SIZE - used) {
        auto *chunk = static_cast<btkChunk *>(std::malloc(BTK_CHUNK_SIZE));
        if (chunk == nullptr) {
            return nullptr;
        }
        chunk->older = std::exchange(chunks, chunk);
        used = round_up(sizeof(btkChunk), ALIGNMENT);
    }
    char *place = reinterpret_cast<char *>(chunks) + used;
    used += whole;
    return new (place) btkBlock{nullptr, size, nullptr, nullptr};
}

btkBlock *btkBaseMMgr::AllocLarge(std::size_t size, std::size_t alignment) {
    const std::size_t extra = sizeof(btkBlock) + alignment;
    char *allocation =
        size <= SIZE_MAX - extra ? static_cast<char *>(std::malloc(size + extra)) : nullptr;
    if (allocation == nullptr) {
        return nullptr;
    }
    const auto address = reinterpret_cast<std::uintptr_t>(allocation);
    char *data = allocation + (round_up(address + sizeof(btkBlock), alignment) - address);
    return new (block_of(data)) btkBlock{nullptr, size, nullptr, allocation};
}

void btkBaseMMgr::FreeMem(void *memory) {
    if (memory == nullptr) {
        return;
    }
    btkBlock *block = block_of(memory);
    const thrMutexGuard guard(lock);
    if (block->owner != this) {
        btkAbort("btkBaseMMgr::FreeMem");
    }
    block->owner = nullptr;
    if (block->allocation != nullptr) {
        std::free(block->allocation);
    } else {
        btkFreeList &list = lists[SizeClass(block->size)];
        block->next = std::exchange(list.first, block);
    }
}

btkPow2MMgr::btkPow2MMgr() : btkBaseMMgr(table) {
    static_assert(BTK_POOL_SIZE == std::size_t{1} << (LISTS - 1));
    for (int i = 0; i < LISTS; ++i) {
        table[i] = {1 << i, nullptr};
    }
    table[LISTS] = {END_OF_LISTS, nullptr};
}

int btkPow2MMgr::SizeClass(std::size_t size) const {
    return static_cast<int>(std::bit_width(size - 1));
}

btkPoolMMgr::btkPoolMMgr() : btkBaseMMgr(table) {
    for (int i = 0; i < LISTS; ++i) {
        table[i] = {SizeOfClass(i), nullptr};
    }
    table[LISTS] = {END_OF_LISTS, nullptr};
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
