// The memory managers: interface defaults, malloc, and small blocks by size class.
#include "basictk/baselib/inc/btkMemMgr.h"

#include "basictk/baselib/inc/btkStartUp.h"
#include "basictk/baselib/inc/thrThread.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <utility>

//  page (aligned to its own size)
//  | header, padded to BLOCKS_AT | block | block | ... | never used yet |
//                                                      ^ fresh
// In use a page is in the list of its class while it has a free or a fresh block; a full page is
// in no list. A page of LARGE holds one block and is in the list of those; one of FREE is unused.
struct btkPage {
    const btkBaseMMgr *owner;
    btkPage *next;
    btkPage *previous;
    btkPage *nextChunk; // in the first page of a chunk
    void *freeBlocks;   // each free block starts with the address of the next
    std::size_t fresh;  // offset of the first byte never handed out
    std::size_t size;   // what a block holds
    std::uint32_t live; // blocks in use
    std::int32_t sizeClass;
};

namespace {

constexpr std::size_t BLOCKS_AT = 128;
static_assert(sizeof(btkPage) <= BLOCKS_AT);

constexpr int LARGE = -1;
constexpr int FREE = -2;
constexpr int END_OF_LISTS = -1;
constexpr std::size_t MIN_BLOCK = sizeof(void *);

std::size_t round_up(std::size_t size, std::size_t unit) {
    return (size + unit - 1) & ~(unit - 1);
}

void link_page(btkPage **list, btkPage *page) {
    page->previous = nullptr;
    page->next = *list;
    if (*list != nullptr) {
        (*list)->previous = page;
    }
    *list = page;
}

void unlink_page(btkPage **list, btkPage *page) {
    (page->previous != nullptr ? page->previous->next : *list) = page->next;
    if (page->next != nullptr) {
        page->next->previous = page->previous;
    }
}

// A chunk or a large block. All managers align theirs to the size of a chunk, whatever their pages:
// so an address rounded down by a manager that it does not belong to still lies in its memory.
btkPage *aligned_page(std::size_t alignment, std::size_t size) {
    void *memory = nullptr;
    return posix_memalign(&memory, alignment, size) == 0 ? static_cast<btkPage *>(memory) : nullptr;
}

// Whether a page can hand out a block without waiting for one to come back.
bool has_room(const btkPage *page, std::size_t pageSize) {
    return page->freeBlocks != nullptr || pageSize - page->fresh >= page->size;
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

btkBaseMMgr::btkBaseMMgr(std::size_t chunk_size, std::size_t page_size, btkFreeList *free_lists)
    : chunkSize(chunk_size), pageSize(page_size), lists(free_lists) {}

btkBaseMMgr::~btkBaseMMgr() {
    while (large != nullptr) {
        std::free(std::exchange(large, large->next));
    }
    while (chunks != nullptr) {
        std::free(std::exchange(chunks, chunks->nextChunk));
    }
}

btkPage *btkBaseMMgr::PageOf(const void *memory) const {
    const std::uintptr_t offset = reinterpret_cast<std::uintptr_t>(memory) & (pageSize - 1);
    const char *start = static_cast<const char *>(memory) - offset;
    return const_cast<btkPage *>(reinterpret_cast<const btkPage *>(start));
}

std::size_t btkBaseMMgr::GetSize(const void *memory) const {
    return memory != nullptr ? PageOf(memory)->size : 0;
}

void *btkBaseMMgr::AllocMem(std::size_t size, int alignment) {
    if (alignment <= 0 || !std::has_single_bit(static_cast<unsigned>(alignment))) {
        return nullptr;
    }
    const std::size_t unit = static_cast<std::size_t>(alignment);
    if (unit >= pageSize || size > SIZE_MAX - unit) {
        return nullptr;
    }
    // Block sizes step by a power of two. Rounded up to the alignment a request falls on a class
    // whose size is a multiple of it, and the first block of a page is aligned to BLOCKS_AT.
    const std::size_t rounded = round_up(std::max(size, MIN_BLOCK), unit);
    thrMutexGuard guard(lock);
    if (rounded > pageSize / 4 || unit > BLOCKS_AT) {
        return AllocLarge(rounded, unit);
    }
    return AllocBlock(SizeClass(rounded));
}

void *btkBaseMMgr::AllocBlock(int sizeClass) {
    btkFreeList &list = lists[sizeClass];
    btkPage *page = list.pages;
    if (page == nullptr) {
        page = TakePage();
        if (page == nullptr) {
            return nullptr;
        }
        page->freeBlocks = nullptr;
        page->fresh = BLOCKS_AT;
        page->size = static_cast<std::size_t>(list.blockSize);
        page->live = 0;
        page->sizeClass = sizeClass;
        link_page(&list.pages, page);
    }
    void *block = page->freeBlocks;
    if (block != nullptr) {
        page->freeBlocks = *static_cast<void **>(block);
    } else {
        block = reinterpret_cast<char *>(page) + page->fresh;
        page->fresh += page->size;
    }
    ++page->live;
    if (!has_room(page, pageSize)) {
        unlink_page(&list.pages, page);
    }
    return block;
}

// A page without a class: a free one, or the first of a new chunk whose others become free.
btkPage *btkBaseMMgr::TakePage() {
    if (freePages == nullptr) {
        btkPage *chunk = aligned_page(chunkSize, chunkSize);
        if (chunk == nullptr) {
            return nullptr;
        }
        chunk->nextChunk = chunks;
        chunks = chunk;
        for (std::size_t offset = chunkSize; offset != 0;) {
            offset -= pageSize;
            btkPage *page = reinterpret_cast<btkPage *>(reinterpret_cast<char *>(chunk) + offset);
            page->owner = this;
            page->sizeClass = FREE;
            link_page(&freePages, page);
        }
    }
    btkPage *page = freePages;
    unlink_page(&freePages, page);
    return page;
}

void *btkBaseMMgr::AllocLarge(std::size_t size, std::size_t alignment) {
    const std::size_t offset = std::max(BLOCKS_AT, alignment);
    if (size > SIZE_MAX - offset) {
        return nullptr;
    }
    btkPage *page = aligned_page(chunkSize, offset + size);
    if (page == nullptr) {
        return nullptr;
    }
    page->owner = this;
    page->size = size;
    page->sizeClass = LARGE;
    link_page(&large, page);
    return reinterpret_cast<char *>(page) + offset;
}

void btkBaseMMgr::FreeMem(void *memory) {
    if (memory == nullptr) {
        return;
    }
    btkPage *page = PageOf(memory);
    thrMutexGuard guard(lock);
    if (page->owner != this || page->sizeClass == FREE) {
        btkAbort("btkBaseMMgr::FreeMem");
    }
    if (page->sizeClass == LARGE) {
        unlink_page(&large, page);
        std::free(page);
    } else {
        FreeBlock(page, memory);
    }
}

void btkBaseMMgr::FreeBlock(btkPage *page, void *memory) {
    btkPage **list = &lists[page->sizeClass].pages;
    if (!has_room(page, pageSize)) {
        link_page(list, page);
    }
    *static_cast<void **>(memory) = page->freeBlocks;
    page->freeBlocks = memory;
    if (--page->live == 0) {
        unlink_page(list, page);
        page->sizeClass = FREE;
        link_page(&freePages, page);
    }
}

// The page of this manager is a whole chunk: with the quarter that a class may take of it, the
// classes are the powers 2^0 to 2^15. Those below a pointer's size are never asked for.
btkPow2MMgr::btkPow2MMgr() : btkBaseMMgr(BTK_CHUNK_SIZE, BTK_CHUNK_SIZE, table) {
    static_assert(BTK_CHUNK_SIZE / 4 == std::size_t{1} << (LISTS - 1));
    for (int i = 0; i < LISTS; ++i) {
        table[i] = {1 << i, nullptr};
    }
    table[LISTS] = {END_OF_LISTS, nullptr};
}

int btkPow2MMgr::SizeClass(std::size_t size) const {
    return static_cast<int>(std::bit_width(size - 1));
}

btkPoolMMgr::btkPoolMMgr() : btkBaseMMgr(BTK_CHUNK_SIZE, BTK_POOL_SIZE, table) {
    for (int i = 0; i < LISTS; ++i) {
        table[i] = {SizeOfClass(i), nullptr};
    }
    table[LISTS] = {END_OF_LISTS, nullptr};
}

// The size is halved until less than 15 units of 8 bytes are left; the class names the halvings
// and the units.
int btkPoolMMgr::ClassOfSize(std::size_t size) {
    std::size_t t = size + 7;
    int halvings = 0;
    while (t >= 120) {
        t = (t + 8) / 2;
        ++halvings;
    }
    return 16 * halvings + static_cast<int>(t / 8);
}

int btkPoolMMgr::SizeOfClass(int sizeClass) {
    return (sizeClass % 16) << (3 + sizeClass / 16);
}
