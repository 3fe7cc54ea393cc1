// The block allocator: allocation, resizing and release of general blocks.
#include "coretools/ctmemmgr/alloc_replay.h"
#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctmemmgr/block_internal.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/pools_internal.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmisc/crash.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

static constexpr unsigned char minus_1 = 0xFF;
// Released blocks from this rounded size on are overwritten only at both ends.
static constexpr std::size_t FILL_WHOLE_BELOW = 3984;
static constexpr std::size_t FILL_AT_EACH_END = 1000;

// A call the compiler cannot see through: it would drop a store that only free follows.
static void *(*const volatile fill_memory)(void *, int, std::size_t) = &std::memset;

// Blocks of the size of a pool area that were released, linked through prev, for the next requests
// of that size. The C library would give such pieces back to the system, only to have them mapped
// in again page by page when the pool grows the next time. Guarded by the lock of the chain.
static constexpr int SPARE_LIMIT = 16;
static block_header *spare_blocks = nullptr;
static int num_spare_blocks = 0;

static int memory_is_corrupt(const char *name) {
    return err_crash(name, "memory chain is corrupt");
}

// Called without the lock: error_break may jump to a trap frame.
static void *out_of_memory(int soft_failure) {
    if (soft_failure == 0) {
        std::printf(" Serious error - out of virtual memory.");
        std::printf(" Starting recovery attempt.\n");
        error_break("Memory error.");
    }
    return nullptr;
}

static block_header *obtain_block(int size, bool locks) {
    block_header *block = nullptr;
    if (size == Stat_clump_size) {
        lock_memmgr(locks);
        block = spare_blocks;
        if (block != nullptr) {
            spare_blocks = block->prev;
            num_spare_blocks--;
        }
        unlock_memmgr(locks);
    }
    return block != nullptr ? block : static_cast<block_header *>(std::malloc(whole_size(size)));
}

static bool keep_as_spare(block_header *block, std::size_t whole, bool locks) {
    if (whole != whole_size(Stat_clump_size)) {
        return false;
    }
    lock_memmgr(locks);
    const bool kept = num_spare_blocks < SPARE_LIMIT;
    if (kept) {
        block->prev = spare_blocks;
        spare_blocks = block;
        num_spare_blocks++;
    }
    unlock_memmgr(locks);
    return kept;
}

// keeps is what keeps_released_blocks said when the block was overwritten: the switch may change.
static void dispose_of(block_header *block, std::size_t whole, bool keeps, bool locks) {
    if (keeps) {
        add_block_to_released_list(block, whole);
    } else if (!keep_as_spare(block, whole, locks)) {
        std::free(block);
    }
}

static bool can_be_served(int size) {
    if (size < 0) {
        crash();
        return false;
    }
    return memory_is_ready();
}

static void note_allocation(void *data) {
    if (memory_file_level.load(std::memory_order_relaxed) > REPLAY_OFF) {
        memdebug_alloc(data);
    }
    if (dbggetmem.active.load(std::memory_order_relaxed) != 0) {
        debug_memory_loop_alloc(&dbggetmem, data);
    }
}

void *new_unfilled_block(int size, int soft_failure, int xar) {
    if (!can_be_served(size)) {
        return nullptr;
    }
    const bool locks = memmgr_lock_needed();
    block_header *const block = obtain_block(size, locks);
    if (block == nullptr) {
        return out_of_memory(soft_failure);
    }
    set_block_size(block, size);
    lock_memmgr(locks);
    const bool linked = append_to_chain(block, xar);
    unlock_memmgr(locks);
    if (!linked) {
        std::free(block);
        memory_is_corrupt("manage_memory");
        return nullptr;
    }
    note_allocation(data_of(block));
    return data_of(block);
}

static void *resized_block(int size, void *old_data, int soft_failure, int xar) {
    if (!can_be_served(size)) {
        return nullptr;
    }
    if (dbggetmem.active.load(std::memory_order_relaxed) != 0) {
        debug_mark_released_memory(&dbggetmem, old_data);
    }
    const bool locks = memmgr_lock_needed();
    lock_memmgr(locks);
    if (area_invalid(old_data) != 0) {
        unlock_memmgr(locks);
        memory_is_corrupt("manage_memory");
        return nullptr;
    }
    block_header *const old = header_of(old_data);
    const int old_size = block_size(old);
    block_header *const prev = old->prev;
    block_header *const next = trailer_of(old)->next;
    const bool keeps = keeps_released_blocks();
    const bool moves = keeps || always_relocates();
    auto *const block = static_cast<block_header *>(moves ? std::malloc(whole_size(size))
                                                          : std::realloc(old, whole_size(size)));
    if (block == nullptr) {
        unlock_memmgr(locks);
        return out_of_memory(soft_failure);
    }
    if (moves) {
        std::memcpy(data_of(block), old_data, static_cast<std::size_t>(std::min(size, old_size)));
    }
    set_block_size(block, size);
    replace_in_chain(block, prev, next, old_size, xar);
    unlock_memmgr(locks);
    if (moves) {
        // Only after unlocking: the list of released blocks allocates.
        fill_memory(old, minus_1, whole_size(old_size));
        dispose_of(old, whole_size(old_size), keeps, locks);
    }
    note_allocation(data_of(block));
    if (size > old_size) {
        std::memset(data_of(block) + old_size, 0, static_cast<std::size_t>(size - old_size));
    }
    return data_of(block);
}

// The one routine behind allocation (no old data) and resizing.
void *manage_memory(int size, void *old_data, int soft_failure, int xar) {
    if (old_data != nullptr) {
        return resized_block(size, old_data, soft_failure, xar);
    }
    void *const data = new_unfilled_block(size, soft_failure, xar);
    if (data != nullptr) {
        std::memset(data, 0, static_cast<std::size_t>(size));
    }
    return data;
}

static void *allocate(int size, int soft_failure, int xar) {
    if (size == 0) {
        return nullptr;
    }
    // A negative size is refused once, by the allocator.
    const int pool = size > 0 ? find_non_id_clump(size) : -1;
    return pool >= 0 ? take_pool_record(pool, soft_failure, xar)
                     : manage_memory(size, nullptr, soft_failure, xar);
}

void *getmem(int size) {
    return allocate(size, 0, 0);
}

void *getmem_xar(int size, int xar) {
    return allocate(size, 0, xar);
}

void *getmem_null(int size) {
    return allocate(size, 1, 0);
}

void *relocmem_xar(void *data, int new_size, int xar) {
    if (data == nullptr) {
        return getmem_xar(new_size, xar);
    }
    // Asked by the tag, not by the answer: null from relocmem_clump may mean exhausted memory.
    return is_pool_record(data) ? relocmem_clump(data, new_size, xar)
                                : manage_memory(new_size, data, 0, xar);
}

int release_block(void *data) {
    if (dbggetmem.active.load(std::memory_order_relaxed) != 0) {
        debug_mark_released_memory(&dbggetmem, data);
    }
    const bool locks = memmgr_lock_needed();
    lock_memmgr(locks);
    if (area_invalid(data) != 0) {
        unlock_memmgr(locks);
        memory_is_corrupt("rlsmem");
        return 0;
    }
    block_header *const block = header_of(data);
    const std::size_t rounded = rounded_size(block_size(block));
    const std::size_t whole = rounded + BLOCK_OVERHEAD;
    remove_from_chain(block);
    unlock_memmgr(locks);
    const bool keeps = keeps_released_blocks();
    if (rounded < FILL_WHOLE_BELOW || keeps) {
        fill_memory(block, minus_1, whole);
    } else {
        char *const start = reinterpret_cast<char *>(block);
        fill_memory(start, minus_1, FILL_AT_EACH_END);
        fill_memory(start + whole - FILL_AT_EACH_END, minus_1, FILL_AT_EACH_END);
    }
    dispose_of(block, whole, keeps, locks);
    return 0;
}

int rlsmem(void *data) {
    if (data == nullptr || rlsmem_clump(data) != 0) {
        return 0;
    }
    return release_block(data);
}

int relmem_address(void **data) {
    if (data == nullptr) {
        return 0;
    }
    rlsmem(*data);
    if (marking_mem_to_preserve() == 0) {
        *data = nullptr;
    }
    return 1;
}
