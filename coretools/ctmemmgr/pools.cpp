// Pool records: areas, slots and their free lists.
#include "coretools/ctmemmgr/block_internal.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/pools_internal.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmisc/crash.h"

#include <algorithm>
#include <cstring>

static slot_header *slot_of(const void *data) {
    return reinterpret_cast<slot_header *>(
        const_cast<char *>(static_cast<const char *>(data) - sizeof(slot_header)));
}

static char *data_of_slot(slot_header *slot) {
    return reinterpret_cast<char *>(slot) + sizeof(slot_header);
}

static slot_header *slot_at(area_header *area, std::size_t offset) {
    return reinterpret_cast<slot_header *>(reinterpret_cast<char *>(area) + sizeof(area_header) +
                                           offset * SLOT_UNIT);
}

// The area of a slot, or null when the slot does not lead to one. What is read here stays the same
// for as long as a slot of the area is in use: no lock is needed.
static area_header *area_of(const slot_header *slot) {
    const std::size_t back = sizeof(area_header) + slot->offset * SLOT_UNIT;
    if (back >= Stat_clump_size || reinterpret_cast<std::uintptr_t>(slot) % SLOT_UNIT != 0) {
        return nullptr;
    }
    auto *const area = reinterpret_cast<area_header *>(
        const_cast<char *>(reinterpret_cast<const char *>(slot)) - back);
    return area->self == area ? area : nullptr;
}

// Answers data, as memset does. Small records are filled as two overlapping halves of fixed size:
// the call of memset would cost as much as all the rest.
template <unsigned char value>
static inline void *fill_record(char *data, std::size_t bytes) {
    if (bytes > 64) {
        return std::memset(data, value, bytes);
    }
    if (bytes > 32) {
        std::memset(data, value, 32);
        std::memset(data + bytes - 32, value, 32);
    } else if (bytes > 16) {
        std::memset(data, value, 16);
        std::memset(data + bytes - 16, value, 16);
    } else {
        std::memset(data, value, 8);
        std::memset(data + bytes - 8, value, 8);
    }
    return data;
}

static bool has_room(const clump_entry &entry, const area_header *area) {
    return area->used < entry.slots_per_area - 1;
}

static void unlink_area(clump_entry &entry, area_header *area) {
    (area->prev != nullptr ? area->prev->next : entry.first_area) = area->next;
    (area->next != nullptr ? area->next->prev : entry.last_area) = area->prev;
}

// Behind the area prev, or first when that is null.
static void link_area(clump_entry &entry, area_header *area, area_header *prev) {
    area_header *const next = prev != nullptr ? prev->next : entry.first_area;
    area->prev = prev;
    area->next = next;
    (prev != nullptr ? prev->next : entry.first_area) = area;
    (next != nullptr ? next->prev : entry.last_area) = area;
}

// The order of the areas answers at once: if neither of the first two has room, none has. The one
// that is answered is first; null when a new area is needed.
static area_header *first_area_with_room(clump_entry &entry) {
    area_header *const front = entry.first_area;
    if (front == nullptr || has_room(entry, front)) {
        return front;
    }
    area_header *const second = front->next;
    if (second == nullptr || !has_room(entry, second)) {
        return nullptr;
    }
    unlink_area(entry, front);
    link_area(entry, front, entry.last_area);
    return second;
}

static std::size_t stride_of(const clump_entry &entry) {
    return (static_cast<std::size_t>(entry.rounded) + sizeof(slot_header)) / SLOT_UNIT;
}

// The slots that were in use before come first. The headers of the others are written only when
// they come up: a new area costs the same however many slots it has.
static slot_header *pop_free_slot(area_header *area, std::size_t stride) {
    if (area->first_free != NO_SLOT) {
        slot_header *const slot = slot_at(area, static_cast<std::size_t>(area->first_free));
        area->first_free = slot->next_free;
        return slot;
    }
    slot_header *const slot = slot_at(area, area->fresh);
    slot->offset = area->fresh;
    area->fresh = static_cast<std::uint16_t>(area->fresh + stride);
    return slot;
}

// Taken without the pools' lock: exhausted memory may jump to a trap frame.
static area_header *new_area(int pool, int soft_failure) {
    void *const memory = new_unfilled_block(Stat_clump_size, soft_failure, 0);
    if (memory == nullptr) {
        return nullptr;
    }
    auto *const area = static_cast<area_header *>(memory);
    area->used = 0;
    area->pool = static_cast<std::int16_t>(pool);
    area->first_free = NO_SLOT;
    area->self = area;
    area->fresh = 0;
    return area;
}

static bool first_area_has_room(const clump_entry &entry) {
    return entry.first_area != nullptr && has_room(entry, entry.first_area);
}

// Puts an area with room first, a new one if need be; false without memory. Leaves the pools' lock
// for a while.
static bool make_room(int pool, int soft_failure) {
    clump_entry &entry = clump_table[pool];
    if (first_area_with_room(entry) != nullptr) {
        return true;
    }
    unlock_clumps();
    area_header *const area = new_area(pool, soft_failure);
    lock_clumps();
    if (area == nullptr) {
        return false;
    }
    // Other threads may have made room meanwhile: no full area may come to stand before it.
    first_area_with_room(entry);
    link_area(entry, area, nullptr);
    return true;
}

// From the first area, which has room.
static inline void *take_slot(const clump_entry &entry, int xar) {
    area_header *const area = entry.first_area;
    slot_header *const slot = pop_free_slot(area, stride_of(entry));
    area->used++;
    slot->next_free = NO_SLOT;
    slot->mark = NO_MARK;
    slot->tag = xar != 0 ? TAG_IN_USE_XAR : TAG_IN_USE;
    return fill_record<0>(data_of_slot(slot), static_cast<std::size_t>(entry.rounded));
}

// The general way, kept out of the short one so that this needs no registers saved.
[[gnu::noinline]] static void *take_record(int pool, int soft_failure, int xar) {
    lock_clumps();
    void *data = nullptr;
    if (is_pool_index(pool) &&
        (first_area_has_room(clump_table[pool]) || make_room(pool, soft_failure))) {
        data = take_slot(clump_table[pool], xar);
    }
    unlock_clumps();
    if (data != nullptr && clump_table[pool].loop.active.load(std::memory_order_relaxed) != 0) {
        debug_memory_loop_alloc(&clump_table[pool].loop, data);
    }
    return data;
}

// Nearly every request of a run without threads is served from the first area at once.
void *take_pool_record(int pool, int soft_failure, int xar) {
    if (!IsThreadingEnabled() && is_pool_index(pool)) {
        const clump_entry &entry = clump_table[pool];
        if (first_area_has_room(entry) && entry.loop.active.load(std::memory_order_relaxed) == 0) {
            return take_slot(entry, xar);
        }
    }
    return take_record(pool, soft_failure, xar);
}

void *getmem_pool_xar(int pool, int xar) {
    return take_pool_record(pool, 0, xar);
}

void *getmem_pool(int pool) {
    return take_pool_record(pool, 0, 0);
}

// An area that was full, or whose last record has gone: it takes its new place, or leaves the pool.
static void place_area(clump_entry &entry, area_header *area) {
    if (area->used == 0) {
        unlink_area(entry, area);
    } else if (area != entry.first_area && has_room(entry, area)) {
        unlink_area(entry, area);
        link_area(entry, area, entry.first_area);
    }
}

// A record that is released out of turn has often left the cache: its lines come while the slot is
// put back, not one by one as it is overwritten. Those of a longer record follow by themselves.
static void prefetch_record(const void *data, int bytes) {
    constexpr std::size_t PREFETCH_LIMIT = 8 * CACHE_LINE;
    const std::size_t end = std::min(static_cast<std::size_t>(bytes), PREFETCH_LIMIT);
    for (std::size_t at = CACHE_LINE; at < end; at += CACHE_LINE) {
        __builtin_prefetch(static_cast<const char *>(data) + at, 1);
    }
}

static inline void give_back_slot(const clump_entry &entry, area_header *area, slot_header *slot) {
    slot->next_free = area->first_free;
    area->first_free = static_cast<std::int16_t>(slot->offset);
    area->used--;
    slot->tag = TAG_FREE;
    fill_record<0xFF>(data_of_slot(slot), static_cast<std::size_t>(entry.rounded));
}

// The general way, as take_record is.
[[gnu::noinline]] static void release_record(area_header *area, slot_header *slot) {
    clump_entry &entry = clump_table[area->pool];
    // Before the lock: the loop's own bookkeeping, which allocates, has to come first.
    if (entry.loop.active.load(std::memory_order_relaxed) != 0) {
        debug_mark_released_memory(&entry.loop, data_of_slot(slot));
    }
    lock_clumps();
    const bool was_full = !has_room(entry, area);
    give_back_slot(entry, area, slot);
    const bool is_empty = area->used == 0;
    if (was_full || is_empty) {
        place_area(entry, area);
    }
    unlock_clumps();
    if (is_empty) {
        release_block(area);
    }
}

[[gnu::noinline]] static int second_release(void *data) {
    dbg_err_crash("rlsmem_clump", " release of already released object");
    return pool_tag_of(data) == TAG_FREE ? 1 : rlsmem_clump(data);
}

int rlsmem_clump(void *data) {
    if (data == nullptr) {
        return 0;
    }
    const std::uint16_t tag = pool_tag_of(data);
    if (tag == TAG_FREE) {
        return second_release(data);
    }
    if (!is_tag_in_use(tag)) {
        return 0;
    }
    slot_header *const slot = slot_of(data);
    area_header *const area = area_of(slot);
    if (area == nullptr) {
        crash();
        return 1;
    }
    const clump_entry &entry = clump_table[area->pool];
    prefetch_record(data, entry.rounded);
    // No area changes its place in the pool, and no lock is needed: done at once.
    if (!IsThreadingEnabled() && entry.loop.active.load(std::memory_order_relaxed) == 0 &&
        has_room(entry, area) && area->used > 1) {
        give_back_slot(entry, area, slot);
    } else {
        release_record(area, slot);
    }
    return 1;
}

void *relocmem_clump(void *data, int new_size, int xar) {
    static_cast<void>(xar);
    if (data == nullptr || !is_pool_record(data)) {
        return nullptr;
    }
    slot_header *const slot = slot_of(data);
    const area_header *const area = area_of(slot);
    if (area == nullptr) {
        crash();
        return nullptr;
    }
    if (area->pool < 0) {
        return nullptr;
    }
    const clump_entry &entry = clump_table[area->pool];
    if (entry.kind == POOL_EXPLICIT) {
        dbg_err_crash("relocmem_clump", "Cannot reallocate a user registered clump!");
    }
    const int record_xar = slot->tag == TAG_IN_USE_XAR ? 1 : 0;
    // Size 0 gives a block of no bytes, as the resize of a general block does.
    void *const moved =
        new_size != 0 ? getmem_xar(new_size, record_xar) : manage_memory(0, nullptr, 0, record_xar);
    if (moved == nullptr) {
        return nullptr;
    }
    std::memcpy(moved, data, static_cast<std::size_t>(std::min(new_size, entry.rounded)));
    rlsmem(data);
    return moved;
}

int mempool_of_slot(const void *data) {
    if (data == nullptr || !is_pool_record(data)) {
        return -1;
    }
    const area_header *const area = area_of(slot_of(data));
    return area != nullptr ? area->pool : -1;
}

void dbgclump_mark(void *data, int number) {
    slot_of(data)->mark = number < NO_MARK ? static_cast<std::uint16_t>(number) : NO_MARK;
}

int dbgclump_index(const void *data) {
    const std::uint16_t mark = slot_of(data)->mark;
    return mark == NO_MARK ? -1 : mark;
}

int dbgclump_size(const memory_loop_record *, const void *data) {
    const int pool = mempool_of_slot(data);
    return pool >= 0 ? clump_table[pool].size : 0;
}

// 1 used count out of range, 2 free list, 3 slot header, 4 order of the areas, 5 links.
static int check_area(const clump_entry &entry, int pool, area_header *area) {
    if (area->self != area || area->pool != pool) {
        return 5;
    }
    if (area->used < 1 || area->used > entry.slots_per_area) {
        return 1;
    }
    const auto stride = static_cast<int>(stride_of(entry));
    const int written = area->fresh / stride;
    if (area->fresh % stride != 0 || written > entry.slots_per_area) {
        return 2;
    }
    int free_slots = 0;
    for (int offset = area->first_free; offset != NO_SLOT; free_slots++) {
        if (offset < 0 || offset >= area->fresh || offset % stride != 0 || free_slots > written) {
            return 2;
        }
        const slot_header *const slot = slot_at(area, static_cast<std::size_t>(offset));
        if (slot->tag != TAG_FREE) {
            return 2;
        }
        offset = slot->next_free;
    }
    int in_use = 0;
    for (int i = 0; i < written; i++) {
        const slot_header *const slot = slot_at(area, static_cast<std::size_t>(i * stride));
        const bool used = is_tag_in_use(slot->tag);
        if (slot->offset != i * stride || (used && slot->next_free != NO_SLOT) ||
            (!used && slot->tag != TAG_FREE)) {
            return 3;
        }
        in_use += used ? 1 : 0;
    }
    return in_use == area->used && in_use + free_slots == written ? 0 : 2;
}

int check_mem_pool(int pool) {
    lock_clumps();
    int broken = is_pool_index(pool) ? 0 : -1;
    if (broken == 0) {
        const clump_entry &entry = clump_table[pool];
        const area_header *prev = nullptr;
        bool full_seen = false;
        for (area_header *area = entry.first_area; area != nullptr && broken == 0;
             area = area->next) {
            broken = area->prev != prev ? 5 : check_area(entry, pool, area);
            const bool full = !has_room(entry, area);
            if (broken == 0 && prev != nullptr) {
                broken = full_seen && !full ? 4 : 0;
                full_seen = full_seen || full;
            }
            prev = area;
        }
        if (broken == 0 && entry.last_area != prev) {
            broken = 5;
        }
    }
    unlock_clumps();
    return broken;
}
