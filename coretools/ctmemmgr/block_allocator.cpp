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

namespace {

constexpr unsigned char minus_1 = 0xFF;
// Released blocks from this rounded size on are overwritten only at both ends.
constexpr std::size_t FILL_WHOLE_BELOW = 3984;
constexpr std::size_t FILL_AT_EACH_END = 1000;

// Volatile, so that the fill before free() is not optimised away.
void *(*const volatile fill_memory)(void *, int, std::size_t) = &std::memset;

void *memory_is_corrupt(const char *name) {
    err_crash(name, "memory chain is corrupt");
    return nullptr;
}

void *out_of_memory(failure_mode mode) {
    if (mode == FAIL_TO_TRAPS) {
        report_exhausted_memory();
    }
    return nullptr;
}

// Returns what malloc or realloc returns; if that is null, tries once more without the spare areas
// of the pools.
template <class Request>
block_header *obtain(Request request) {
    void *memory = request();
    if (memory == nullptr && free_spare_areas()) {
        memory = request();
    }
    return static_cast<block_header *>(memory);
}

block_header *obtain_block(int size) {
    return obtain([size] { return std::malloc(whole_size(size)); });
}

// keeps is what keeps_released_blocks said when the block was overwritten: the switch may change.
void dispose_of(block_header *block, std::size_t whole, bool keeps) {
    if (keeps) {
        add_block_to_released_list(block, whole);
    } else {
        std::free(block);
    }
}

void note_allocation(void *data) {
    if (memory_file_level.load(std::memory_order_relaxed) > REPLAY_OFF) {
        memdebug_alloc(data);
    }
    if (dbggetmem.active.load(std::memory_order_relaxed) != 0) {
        debug_memory_loop_alloc(&dbggetmem, data);
    }
}

bool link_block(block_header *block, block_kind kind) {
    const chain_guard guard;
    return append_to_chain(block, kind);
}

// Makes a live block of what obtain_block returned; null stays null.
void *live_block(block_header *block, int size, failure_mode mode, block_kind kind) {
    if (block == nullptr) {
        return out_of_memory(mode);
    }
    set_block_size(block, size);
    if (!link_block(block, kind)) {
        std::free(block);
        return memory_is_corrupt("manage_memory");
    }
    note_allocation(data_of(block));
    return data_of(block);
}

struct block_move {
    block_header *from; // null if the chain is corrupt
    block_header *to;   // null if there is no memory
    int old_size;
    bool keeps;
    bool copies;
};

// Under the lock from the check of the chain until the block is linked again.
block_move move_block(void *old_data, int size, block_kind kind) {
    const chain_guard guard;
    if (area_invalid(old_data) != CHAIN_IS_VALID) {
        return {};
    }
    block_header *const old = header_of(old_data);
    block_header *const prev = old->prev;
    block_header *const next = trailer_of(old)->next;
    const bool keeps = keeps_released_blocks();
    block_move move = {old, nullptr, block_size(old), keeps, keeps || always_relocates()};
    move.to = move.copies ? obtain_block(size)
                          : obtain([=] { return std::realloc(old, whole_size(size)); });
    if (move.to != nullptr) {
        if (move.copies) {
            std::memcpy(data_of(move.to), old_data,
                        static_cast<std::size_t>(std::min(size, move.old_size)));
        }
        set_block_size(move.to, size);
        replace_in_chain(move.to, prev, next, move.old_size, kind);
    }
    return move;
}

void *resized_block(int size, void *old_data, failure_mode mode, block_kind kind) {
    if (dbggetmem.active.load(std::memory_order_relaxed) != 0) {
        debug_mark_released_memory(&dbggetmem, old_data);
    }
    const block_move move = move_block(old_data, size, kind);
    if (move.from == nullptr) {
        return memory_is_corrupt("manage_memory");
    }
    if (move.to == nullptr) {
        return out_of_memory(mode);
    }
    if (move.copies) {
        const std::size_t whole = whole_size(move.old_size);
        fill_memory(move.from, minus_1, whole);
        dispose_of(move.from, whole, move.keeps);
    }
    char *const data = data_of(move.to);
    note_allocation(data);
    if (size > move.old_size) {
        std::memset(data + move.old_size, 0, static_cast<std::size_t>(size - move.old_size));
    }
    return data;
}

// Takes a block out of the chain; null, and nothing changed, if the chain is corrupt.
block_header *unlink_block(void *data) {
    const chain_guard guard;
    if (area_invalid(data) != CHAIN_IS_VALID) {
        return nullptr;
    }
    remove_from_chain(header_of(data));
    return header_of(data);
}

void overwrite(block_header *block, std::size_t whole, bool keeps) {
    if (whole - BLOCK_OVERHEAD < FILL_WHOLE_BELOW || keeps) {
        fill_memory(block, minus_1, whole);
    } else {
        char *const start = reinterpret_cast<char *>(block);
        fill_memory(start, minus_1, FILL_AT_EACH_END);
        fill_memory(start + whole - FILL_AT_EACH_END, minus_1, FILL_AT_EACH_END);
    }
}

void release(void *data, bool is_area) {
    if (dbggetmem.active.load(std::memory_order_relaxed) != 0) {
        debug_mark_released_memory(&dbggetmem, data);
    }
    block_header *const block = unlink_block(data);
    if (block == nullptr) {
        memory_is_corrupt("rlsmem");
        return;
    }
    const std::size_t whole = whole_size(block_size(block));
    const bool keeps = keeps_released_blocks();
    overwrite(block, whole, keeps);
    if (keeps || !is_area || !keep_spare_area(block)) {
        dispose_of(block, whole, keeps);
    }
}

} // namespace

void report_exhausted_memory() {
    std::printf(" Serious error - out of virtual memory.");
    std::printf(" Starting recovery attempt.\n");
    error_break("Memory error.");
}

void *manage_memory(int size, void *old_data, int soft_failure, int xar) {
    if (size < 0) {
        crash();
        return nullptr;
    }
    if (!memory_is_ready()) {
        return nullptr;
    }
    const auto mode = static_cast<failure_mode>(soft_failure);
    if (old_data != nullptr) {
        return resized_block(size, old_data, mode, kind_of(xar));
    }
    void *const data = live_block(obtain_block(size), size, mode, kind_of(xar));
    if (data != nullptr) {
        std::memset(data, 0, static_cast<std::size_t>(size));
    }
    return data;
}

int release_block(void *data) {
    release(data, false);
    return 0;
}

void *new_area_block(failure_mode mode) {
    if (!memory_is_ready()) {
        return nullptr;
    }
    auto *block = static_cast<block_header *>(take_spare_area());
    if (block == nullptr) {
        block = obtain_block(Stat_clump_size);
    }
    return live_block(block, Stat_clump_size, mode, PLAIN_BLOCK);
}

void release_area_block(void *area) {
    release(area, true);
}

void *allocate_block(int size, failure_mode mode, block_kind kind) {
    if (size == 0) {
        return nullptr;
    }
    // A negative size is refused once, by the allocator.
    const int pool = size > 0 ? find_non_id_clump(size) : -1;
    return pool >= 0 ? take_pool_record(pool, mode, kind)
                     : manage_memory(size, nullptr, mode, kind);
}

void *getmem(int size) {
    return allocate_block(size, FAIL_TO_TRAPS, PLAIN_BLOCK);
}

void *getmem_xar(int size, int xar) {
    return allocate_block(size, FAIL_TO_TRAPS, kind_of(xar));
}

void *getmem_null(int size) {
    return allocate_block(size, FAIL_SOFTLY, PLAIN_BLOCK);
}

void *relocmem_xar(void *data, int new_size, int xar) {
    if (data == nullptr) {
        return getmem_xar(new_size, xar);
    }
    if (is_pool_record(data)) {
        void *const moved = relocmem_clump(data, new_size, xar);
        if (moved != nullptr || mempool_of_slot(data) >= 0) {
            return moved; // null: out of memory, and the record is still there
        }
    }
    return manage_memory(new_size, data, FAIL_TO_TRAPS, xar);
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
