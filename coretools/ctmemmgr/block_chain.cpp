// The chain of live blocks: its lock, its links and its totals.
#include "basictk/baselib/inc/thrMutex.h"
#include "basictk/baselib/inc/thrTrap.h"
#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctmemmgr/block_internal.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/pools.h"
#include "coretools/ctmisc/wlx_exit.h"

#include <algorithm>
#include <cstdio>

// Innermost of the allocator: nothing else is locked while it is held.
std::atomic<thrMutex *> memmgr_lock{nullptr};

namespace {

std::atomic<bool> IsMemoryInitialized{false};

// Everything below is guarded by memmgr_lock.
block_header *frst_area = nullptr;
block_header *last_area = nullptr;

// Wider than the int of a size: the blocks of a 64-bit host may add up to more.
std::int64_t stat_num_blocks = 0;
std::int64_t stat_application_size = 0;
std::int64_t stat_system_size = 0;
std::int64_t stat_max_system_size = 0;

bool is_aligned(const void *address) {
    return reinterpret_cast<std::uintptr_t>(address) % BLOCK_UNIT == 0;
}

std::int64_t whole_size_of(int size) {
    return static_cast<std::int64_t>(whole_size(size));
}

// True if a live block can have this header: its check word is right, and it is no larger than all
// live blocks together.
bool header_is_plausible(const block_header *block) {
    if (!is_aligned(block) || (block->size_high & 1) != 0) {
        return false;
    }
    const int size = block_size(block);
    return block->guard.accepts(block->prev, static_cast<std::uint32_t>(size)) &&
           whole_size_of(size) <= stat_system_size;
}

bool trailer_is_plausible(block_header *block) {
    const block_trailer *const trailer = trailer_of(block);
    return trailer->guard.accepts(trailer->next, 0);
}

// Adds a block of `size` bytes to the totals.
void count_block(int size) {
    stat_num_blocks++;
    stat_application_size += size;
    stat_system_size += whole_size_of(size);
    stat_max_system_size = std::max(stat_max_system_size, stat_system_size);
}

void discount_block(int size) {
    stat_num_blocks--;
    stat_application_size -= size;
    stat_system_size -= whole_size_of(size);
}

// Makes what comes before a place, a block or the start of the chain, lead to `block`.
void lead_to(block_header *prev, block_header *block) {
    if (prev != nullptr) {
        set_next(prev, block);
    } else {
        frst_area = block;
    }
}

// The same for what comes after it.
void lead_back_to(block_header *next, block_header *block) {
    if (next != nullptr) {
        set_prev(next, block);
    } else {
        last_area = block;
    }
}

void put_between(block_header *block, block_header *prev, block_header *next, block_kind kind) {
    set_prev(block, prev);
    set_next(block, next);
    trailer_of(block)->mark = block_mark(NO_SERIAL, kind);
    lead_to(prev, block);
    lead_back_to(next, block);
}

} // namespace

void init_memory() {
    const bool has_lock = thr_make_once(memmgr_lock, thrMutex_Create) != nullptr;
    if (!has_lock && IsThreadingEnabled()) {
        std::printf("Unable to initialize memory manager locks.  Exiting.\n");
        wlx_exit(1);
        return;
    }
    if (init_clump_lock() == 0) {
        return;
    }
    init_trap_tls();
    // Only now may another thread go on without looking. Without a lock the next request tries
    // again.
    if (has_lock) {
        IsMemoryInitialized.store(true, std::memory_order_release);
    }
}

bool memory_is_ready() {
    if (IsMemoryInitialized.load(std::memory_order_acquire)) {
        return true;
    }
    init_memory();
    return IsMemoryInitialized.load(std::memory_order_acquire) || !IsThreadingEnabled();
}

thrMutex *lock_when_made(const std::atomic<thrMutex *> &mutex) {
    thrMutex *const made = memory_is_ready() ? mutex.load(std::memory_order_acquire) : nullptr;
    thrMutex_Lock(made);
    return made;
}

chain_check area_invalid(const void *data) {
    if (data == nullptr) {
        return CHAIN_NO_DATA;
    }
    if (!is_aligned(data)) {
        return CHAIN_BAD_FIRST;
    }
    block_header *const block = header_of(data);
    if ((block->prev == nullptr) != (block == frst_area)) {
        return CHAIN_BAD_FIRST;
    }
    if (block->prev != nullptr &&
        (!header_is_plausible(block) || !header_is_plausible(block->prev) ||
         trailer_of(block->prev)->next != block)) {
        return CHAIN_BAD_PREDECESSOR;
    }
    if (!header_is_plausible(block) || !trailer_is_plausible(block)) {
        return CHAIN_BAD_LAST;
    }
    block_header *const next = trailer_of(block)->next;
    if ((next == nullptr) != (block == last_area)) {
        return CHAIN_BAD_LAST;
    }
    if (next != nullptr && (!header_is_plausible(next) || next->prev != block)) {
        return CHAIN_BAD_SUCCESSOR;
    }
    return CHAIN_IS_VALID;
}

bool append_to_chain(block_header *block, block_kind kind) {
    block_header *const last = last_area;
    if (last != nullptr && (!header_is_plausible(last) || trailer_of(last)->next != nullptr)) {
        return false;
    }
    put_between(block, last, nullptr, kind);
    count_block(block_size(block));
    return true;
}

void replace_in_chain(block_header *block, block_header *prev, block_header *next, int old_size,
                      block_kind kind) {
    put_between(block, prev, next, kind);
    discount_block(old_size);
    count_block(block_size(block));
}

void remove_from_chain(block_header *block) {
    block_header *const prev = block->prev;
    block_header *const next = trailer_of(block)->next;
    lead_to(prev, next);
    lead_back_to(next, prev);
    set_prev(block, nullptr);
    set_next(block, nullptr);
    discount_block(block_size(block));
}

void set_block_serial(void *data, std::uint32_t serial) {
    block_trailer *const trailer = trailer_of(header_of(data));
    trailer->mark = block_mark(serial, kind_of(static_cast<int>(trailer->mark & 1)));
}

memory_statistics get_memory_statistics() {
    const chain_guard guard;
    return {stat_num_blocks, stat_application_size, stat_system_size, stat_max_system_size};
}

chain_check check_memory_chain() {
    const chain_guard guard;
    std::int64_t blocks = 0;
    std::int64_t application_size = 0;
    std::int64_t system_size = 0;
    block_header *last = nullptr;
    for (block_header *block = frst_area; block != nullptr && blocks <= stat_num_blocks;
         block = trailer_of(block)->next) {
        const chain_check found = area_invalid(data_of(block));
        if (found != CHAIN_IS_VALID) {
            return found;
        }
        blocks++;
        application_size += block_size(block);
        system_size += whole_size_of(block_size(block));
        last = block;
    }
    const bool totals_are_right = last == last_area && blocks == stat_num_blocks &&
                                  application_size == stat_application_size &&
                                  system_size == stat_system_size &&
                                  system_size <= stat_max_system_size;
    return totals_are_right ? CHAIN_IS_VALID : CHAIN_BAD_TOTALS;
}
