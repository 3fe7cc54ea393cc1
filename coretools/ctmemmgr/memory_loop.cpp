// Memory-loop debugging: records one pass, compares the next, reports in the third.
#include "coretools/ctmemmgr/memory_loop.h"

#include "basictk/baselib/inc/thrMutex.h"
#include "coretools/ctmemmgr/alloc_replay.h"
#include "coretools/ctmemmgr/block_internal.h"
#include "coretools/ctmemmgr/har.h"
#include "coretools/ctmemmgr/memory_trap.h"
#include "coretools/ctmemmgr/pools_internal.h"
#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctmisc/lazy_mutex.h"

#include <cstdio>

namespace {

enum loop_level : int { LOOP_OFF, LOOP_RECORDING, LOOP_COMPARING, LOOP_REPORTING };

constexpr int ADDRESS_STEP = 300;

std::atomic<int> dbgmem_loop_level{LOOP_OFF};
std::atomic<int> debug_memory_loop_size{MEMORY_LOOP_ALL_SIZES};
std::atomic<void (*)()> debug_memory_func{nullptr};

// Guards the records and changes of the level. The records' arrays come from the allocator, so it
// is taken before the locks of the released blocks, of the pools and of the chain.
constinit lazy_mutex loop_lock{thrMutex_Create};

// The level as the calling thread sees it: what the memory layer itself allocates is not followed.
int current_level() {
    return in_memory_bookkeeping ? LOOP_OFF : dbgmem_loop_level.load(std::memory_order_acquire);
}

bool is_followed(const memory_loop_record *record, const void *data) {
    const int wanted = debug_memory_loop_size.load(std::memory_order_relaxed);
    return wanted == MEMORY_LOOP_ALL_SIZES || record->size(record, data) == wanted;
}

// Number 0 is the general blocks' record, i + 1 that of pool i; null after the last.
memory_loop_record *record_at(int number) {
    return number == 0 ? &dbggetmem : pool_loop_record(number - 1);
}

void drop_addresses(memory_loop_record *record) {
    const bool outer = in_memory_bookkeeping;
    in_memory_bookkeeping = true;
    har_free(&record->addresses);
    in_memory_bookkeeping = outer;
}

// False if the comparing pass does not match the recording one.
bool cross_boundary(memory_loop_record *record, int level) {
    if (level == LOOP_COMPARING && record->count != record->previous_count) {
        return false;
    }
    record->active.store(1, std::memory_order_relaxed);
    record->previous_count = level == LOOP_OFF ? 0 : record->count;
    record->count = 0;
    // A loop that ran out of memory may have left addresses behind.
    if (level == LOOP_REPORTING || level == LOOP_OFF) {
        drop_addresses(record);
    }
    return true;
}

bool cross_all_boundaries() {
    const lazy_mutex_guard guard(loop_lock);
    const int level = dbgmem_loop_level.load(std::memory_order_relaxed);
    for (int i = 0; memory_loop_record *record = record_at(i); i++) {
        if (!cross_boundary(record, level)) {
            return false;
        }
    }
    dbgmem_loop_level.store(level == LOOP_REPORTING ? LOOP_RECORDING : level + 1,
                            std::memory_order_release);
    return true;
}

// Returns a new element of the record's array, null without memory. The array grows as usual,
// whatever the thread has switched.
void **new_address(memory_loop_record *record) {
    const int ext_no = get_force_ext_no();
    const int ignore_reloc_cnt = get_force_ignore_reloc_cnt();
    set_force_ext_no(0);
    set_force_ignore_reloc_cnt(0);
    void *const address =
        append_to_bookkeeping(&record->addresses, static_cast<int>(sizeof(void *)), ADDRESS_STEP);
    set_force_ext_no(ext_no);
    set_force_ignore_reloc_cnt(ignore_reloc_cnt);
    return static_cast<void **>(address);
}

// Returns what the recording pass stored for an allocation; null if it made none of that number.
void **address_at(memory_loop_record *record, int number) {
    return static_cast<void **>(har_access(&record->addresses, number, nullptr, nullptr));
}

enum class allocation_seen { COUNTED, NOT_RELEASED_BEFORE, ONE_TOO_MANY, NO_MEMORY };

// Does with an allocation what the pass asks for.
allocation_seen see_allocation(memory_loop_record *record, void *data) {
    const lazy_mutex_guard guard(loop_lock); // traps end in new_address
    const int level = current_level();       // again: the loop may have been cancelled meanwhile
    if (level == LOOP_OFF) {
        return allocation_seen::COUNTED;
    }
    const int number = record->count;
    allocation_seen seen = allocation_seen::COUNTED;
    if (level == LOOP_REPORTING) {
        const void *const *const entry = address_at(record, number);
        if (entry == nullptr) {
            return allocation_seen::ONE_TOO_MANY;
        }
        if (*entry != nullptr) {
            seen = allocation_seen::NOT_RELEASED_BEFORE;
        }
    }
    record->mark(data, number);
    if (level == LOOP_RECORDING) {
        void **const entry = new_address(record);
        if (entry == nullptr) {
            return allocation_seen::NO_MEMORY;
        }
        // A release finds the entry by the mark: without one, nothing is expected of this block.
        *entry = record->index(data) == number ? data : nullptr;
    }
    record->count++;
    return seen;
}

// The general blocks keep the number of an allocation where allocation replay keeps the serial.
void dbggetmem_mark(void *data, int number) {
    const chain_guard guard;
    set_block_serial(data, static_cast<std::uint32_t>(number));
}

} // namespace

memory_loop_record dbggetmem = {{0},           0, 0, nullptr, dbggetmem_mark, memdebug_serial,
                                dbggetmem_size};

void dbggetmem_access(memory_loop_record **record) {
    *record = &dbggetmem;
}

int dbggetmem_size(const memory_loop_record *, const void *data) {
    return data != nullptr ? block_size(header_of(data)) : 0;
}

int get_in_debug_memory_loop() {
    return current_level() > LOOP_OFF ? 1 : 0;
}

void set_debug_memory_loop_size(int size) {
    debug_memory_loop_size.store(size, std::memory_order_relaxed);
}

void set_debug_memory_func(void (*function)()) {
    debug_memory_func.store(function, std::memory_order_relaxed);
}

void debug_cancel_memory_loop() {
    const lazy_mutex_guard guard(loop_lock);
    dbgmem_loop_level.store(LOOP_OFF, std::memory_order_release);
    for (int i = 0; memory_loop_record *record = record_at(i); i++) {
        record->active.store(0, std::memory_order_relaxed);
        drop_addresses(record);
    }
}

void debug_memory_loop() {
    if (!in_memory_bookkeeping && !cross_all_boundaries()) {
        std::printf("Two previous loops had different numbers of memory allocations.\n");
        std::printf("Cancelling memory loop handling.  Try again.\n");
        debug_cancel_memory_loop();
    }
}

void debug_memory_loop_alloc(memory_loop_record *record, void *data) {
    if (current_level() == LOOP_OFF || !is_followed(record, data)) {
        return;
    }
    const allocation_seen seen = see_allocation(record, data);
    if (seen == allocation_seen::NOT_RELEASED_BEFORE) {
        debug_memory_not_released(record, data);
    } else if (seen != allocation_seen::COUNTED) {
        if (seen == allocation_seen::ONE_TOO_MANY) {
            std::printf("debug_memory_loop_alloc: too many allocations.");
            std::printf(" Cancelling memory loop.\n");
        }
        debug_cancel_memory_loop();
    }
}

void debug_mark_released_memory(memory_loop_record *record, void *data) {
    const int level = current_level();
    if ((level != LOOP_RECORDING && level != LOOP_COMPARING) || !is_followed(record, data)) {
        return;
    }
    const lazy_mutex_guard guard(loop_lock);
    void **const entry = address_at(record, record->index(data));
    if (entry != nullptr && *entry == data) {
        *entry = nullptr;
    }
}

void debug_memory_not_released(const memory_loop_record *record, const void *data) {
    if (current_level() == LOOP_OFF) {
        return;
    }
    std::printf("debug_memory_not_released: %u bytes at %lx won't get released.\n",
                static_cast<unsigned>(record->size(record, data)),
                reinterpret_cast<unsigned long>(data));
    // Exhausted memory in the function must not jump out of the program that is watched.
    if (void (*function)() = debug_memory_func.load(std::memory_order_relaxed)) {
        call_with_memory_trap(function);
    }
}
