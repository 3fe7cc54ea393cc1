// The table of pools: registration, the look-up by size, and the switches.
#include "coretools/ctmemmgr/block_internal.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/pools_internal.h"
#include "coretools/ctmemmgr/sort_pointers.h"
#include "coretools/ctmisc/crash.h"
#include "coretools/ctmisc/run_mode.h"
#include "coretools/ctmisc/wlx_exit.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>

clump_entry clump_table[CLUMP_LIMIT];
int clump_count = 0;

std::atomic<thrMutex *> clump_lock{nullptr};

namespace {

// The used entries by size, then by position. Guarded by the lock.
const void *clump_index[CLUMP_LIMIT];
// While there is no general pool, a look-up ends without the lock.
std::atomic<int> num_general_pools{0};

// The general pool for a request of so many 8-byte units, or -1. Read and written as atomic ints.
constexpr int SIZE_CACHE_UNITS = 4096;
std::atomic<int *> size_cache{nullptr};

constexpr std::size_t MERGED_NAME_LIMIT = 30;

std::atomic<int> Clump_mode_off_low{0};
std::atomic<int> Clump_mode_off{0};
std::atomic<int> automatic_clumps_on{0};
std::atomic<int> dbg_memory_config{0};

int cmp_clumps(const void *a, const void *b) {
    const auto *const left = static_cast<const clump_entry *>(a);
    const auto *const right = static_cast<const clump_entry *>(b);
    if (left->size != right->size) {
        return left->size < right->size ? -1 : 1;
    }
    return left < right ? -1 : (left > right ? 1 : 0);
}

void rebuild_index() {
    for (int i = 0; i < clump_count; i++) {
        clump_index[i] = &clump_table[i];
    }
    sort_pointers(clump_count, cmp_clumps, clump_index);
}

void merge_name(clump_entry &entry, const char *name) {
    char piece[32];
    std::snprintf(piece, sizeof piece, " + %.28s", name);
    const std::size_t length = std::strlen(entry.name);
    const std::size_t room = MERGED_NAME_LIMIT - std::min(length, MERGED_NAME_LIMIT);
    std::snprintf(entry.name + length, sizeof entry.name - length, "%.*s", static_cast<int>(room),
                  piece);
}

constexpr std::size_t slots_of_area(std::size_t rounded) {
    return (Stat_clump_size - sizeof(area_header)) / (rounded + sizeof(slot_header));
}

// The entry has no areas.
void fill_entry(clump_entry &entry, const char *name, int size, int kind) {
    const std::size_t rounded = rounded_size(size);
    std::snprintf(entry.name, sizeof entry.name, "%s", name != nullptr ? name : "");
    entry.size = size;
    entry.kind = kind;
    entry.rounded = static_cast<int>(rounded);
    entry.slots_per_area = static_cast<int>(slots_of_area(rounded));
    entry.loop.active.store(0, std::memory_order_relaxed);
    entry.loop.count = 0;
    entry.loop.previous_count = 0;
    entry.loop.addresses = nullptr;
    entry.loop.mark = dbgclump_mark;
    entry.loop.index = dbgclump_index;
    entry.loop.size = dbgclump_size;
}

// Returns the number of a new pool, or of the general pool that is shared; -1 if the table is full.
int enter_pool(const char *name, int size, int kind) {
    const clump_guard guard;
    int pool = 0;
    for (; pool < clump_count && clump_table[pool].kind != POOL_FREE; pool++) {
        clump_entry &entry = clump_table[pool];
        if (kind == POOL_GENERAL && entry.kind == POOL_GENERAL && entry.size == size) {
            if (name != nullptr) {
                merge_name(entry, name);
            }
            return pool;
        }
    }
    if (pool == CLUMP_LIMIT) {
        return -1;
    }
    fill_entry(clump_table[pool], name, size, kind);
    clump_count = std::max(clump_count, pool + 1);
    rebuild_index();
    if (kind == POOL_GENERAL) {
        num_general_pools.fetch_add(1, std::memory_order_release);
    }
    return pool;
}

// Does nothing without memory: look-ups then do without the cache. It comes from the allocator past
// the pools, since this is part of looking for a pool.
void make_size_cache() {
    auto *cache = static_cast<int *>(manage_memory(SIZE_CACHE_UNITS * static_cast<int>(sizeof(int)),
                                                   nullptr, FAIL_SOFTLY, PLAIN_BLOCK));
    if (cache == nullptr) {
        return;
    }
    std::fill_n(cache, SIZE_CACHE_UNITS, -1);
    int *made_by_other = nullptr;
    if (!size_cache.compare_exchange_strong(made_by_other, cache, std::memory_order_acq_rel)) {
        release_block(cache);
    }
}

// Returns the general pool of this size, or -1. The index holds explicit pools of the same size
// too.
int search_index(int size) {
    const clump_guard guard;
    const void *const *const first = clump_index;
    const void *const *const end = first + clump_count;
    const void *const *entry =
        std::lower_bound(first, end, size, [](const void *candidate, int wanted) {
            return static_cast<const clump_entry *>(candidate)->size < wanted;
        });
    for (; entry != end; entry++) {
        const auto *const candidate = static_cast<const clump_entry *>(*entry);
        if (candidate->size != size) {
            break;
        }
        if (candidate->kind == POOL_GENERAL) {
            return static_cast<int>(candidate - clump_table);
        }
    }
    return -1;
}

// Returns the general pool of this rounded size, or -1.
int general_pool(std::size_t rounded) {
    // A record is smaller than an area.
    if (num_general_pools.load(std::memory_order_acquire) == 0 || rounded >= Stat_clump_size) {
        return -1;
    }
    const std::size_t unit = rounded / BLOCK_UNIT;
    int *const cache = size_cache.load(std::memory_order_acquire);
    const bool is_cached = cache != nullptr && unit < SIZE_CACHE_UNITS;
    if (is_cached) {
        const int pool = std::atomic_ref<int>(cache[unit]).load(std::memory_order_acquire);
        if (pool >= 0 && static_cast<std::size_t>(clump_table[pool].size) == rounded &&
            clump_table[pool].kind == POOL_GENERAL) {
            return pool;
        }
    }
    const int pool = search_index(static_cast<int>(rounded));
    if (pool >= 0 && is_cached) {
        std::atomic_ref<int>(cache[unit]).store(pool, std::memory_order_release);
    }
    return pool;
}

} // namespace

void set_clump_mode_off_low(int on) {
    Clump_mode_off_low.store(on, std::memory_order_relaxed);
}

void set_clump_mode_off(int on) {
    Clump_mode_off.store(on, std::memory_order_relaxed);
}

void set_automatic_clumps_on(int on) {
    automatic_clumps_on.store(on, std::memory_order_relaxed);
}

void set_dbg_memory_config(int on) {
    dbg_memory_config.store(on, std::memory_order_relaxed);
}

int get_dbg_memory_config() {
    return dbg_memory_config.load(std::memory_order_relaxed);
}

int init_clump_lock() {
    if (thr_make_once(clump_lock, thrMutex_Create) == nullptr) {
        std::printf("Error initializing clump lock.  Exiting.\n");
        wlx_exit(1);
        return 0;
    }
    return 1;
}

int register_clump_type(const char *name, int size, int kind) {
    if (size <= 0 || slots_of_area(rounded_size(size)) == 0) {
        crash();
        return -1;
    }
    if (!memory_is_ready()) {
        return -1;
    }
    if (kind == POOL_GENERAL) {
        size = static_cast<int>(rounded_size(size));
    }
    const int pool = enter_pool(name, size, kind);
    // crash may run exit handlers that need pools: the lock is released by now.
    if (pool < 0 && user_run_mode() == 0) {
        crash();
    }
    return pool;
}

int register_clump(const char *name, int size) {
    return register_clump_type(name, size, POOL_GENERAL);
}

int create_mem_pool(const char *name, int record_size) {
    return register_clump_type(name, record_size, POOL_EXPLICIT);
}

const char *mem_pool_name(int pool) {
    const clump_guard guard;
    return is_pool_index(pool) ? clump_table[pool].name : nullptr;
}

memory_loop_record *pool_loop_record(int index) {
    const clump_guard guard;
    return index < clump_count ? &clump_table[index].loop : nullptr;
}

int find_non_id_clump(int size) {
    if (Clump_mode_off_low.load(std::memory_order_relaxed) != 0 ||
        Clump_mode_off.load(std::memory_order_relaxed) != 0) {
        return -1;
    }
    if (size_cache.load(std::memory_order_acquire) == nullptr) {
        make_size_cache();
    }
    if (size <= 0) {
        crash();
        return -1;
    }
    const int pool = general_pool(rounded_size(size));
    if (pool < 0 && size <= AUTOMATIC_CLUMP_LIMIT &&
        automatic_clumps_on.load(std::memory_order_relaxed) != 0) {
        return register_clump(nullptr, size);
    }
    return pool;
}
