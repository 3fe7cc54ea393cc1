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

// Areas with room come first, except that the first may be full: checking two is enough. False if a
// new area is needed.
[[gnu::noinline]] static bool replace_first_area(clump_entry &entry, area_header *front) {
    area_header *const second = front->next;
    if (second == nullptr || !has_room(entry, second)) {
        return false;
    }
    unlink_area(entry, front);
    link_area(entry, front, entry.last_area);
    return true;
}

static inline bool make_first_area_with_room(clump_entry &entry) {
    area_header *const front = entry.first_area;
    return front != nullptr && (has_room(entry, front) || replace_first_area(entry, front));
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

static area_header *make_area(int pool, int soft_failure) {
    void *const memory = new_area_block(soft_failure);
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

// The ways in and out of a pool exist twice, made from one text: with the lock, and for runs
// without threads, which need no registers for it.
struct no_guard {};

// Takes a slot from the first area, which has room.
static inline slot_header *take_slot(const clump_entry &entry, int xar) {
    area_header *const area = entry.first_area;
    slot_header *const slot = pop_free_slot(area, stride_of(entry));
    area->used++;
    slot->next_free = NO_SLOT;
    slot->mark = NO_MARK;
    slot->tag = xar != 0 ? TAG_IN_USE_XAR : TAG_IN_USE;
    return slot;
}

// Null if there is no such pool, or no area with room.
template <class Guard>
static inline slot_header *slot_of_pool(int pool, int xar) {
    [[maybe_unused]] const Guard guard;
    if (!is_pool_index(pool) || !make_first_area_with_room(clump_table[pool])) {
        return nullptr;
    }
    return take_slot(clump_table[pool], xar);
}

static slot_header *slot_of_new_area(int pool, area_header *area, int xar) {
    const clump_guard guard;
    clump_entry &entry = clump_table[pool];
    // Other threads may have made room meanwhile: no full area may come to stand before it.
    make_first_area_with_room(entry);
    link_area(entry, area, nullptr);
    return take_slot(entry, xar);
}

static bool is_known_pool(int pool) {
    const clump_guard guard;
    return is_pool_index(pool);
}

static inline void *zeroed(const clump_entry &entry, slot_header *slot) {
    return fill_record<0>(data_of_slot(slot), static_cast<std::size_t>(entry.rounded));
}

[[gnu::noinline]] static void *zeroed_for_loop(clump_entry &entry, slot_header *slot) {
    debug_memory_loop_alloc(&entry.loop, data_of_slot(slot));
    return zeroed(entry, slot);
}

static inline bool is_in_loop(const clump_entry &entry) {
    return entry.loop.active.load(std::memory_order_relaxed) != 0;
}

static inline void *record_of(slot_header *slot, int pool) {
    clump_entry &entry = clump_table[pool];
    return is_in_loop(entry) ? zeroed_for_loop(entry, slot) : zeroed(entry, slot);
}

[[gnu::noinline]] static void *record_of_new_area(int pool, int soft_failure, int xar) {
    // Made without the lock: exhausted memory may jump to a trap frame.
    area_header *const area = is_known_pool(pool) ? make_area(pool, soft_failure) : nullptr;
    return area != nullptr ? record_of(slot_of_new_area(pool, area, xar), pool) : nullptr;
}

template <class Guard>
[[gnu::noinline]] static void *take_record(int pool, int soft_failure, int xar) {
    slot_header *const slot = slot_of_pool<Guard>(pool, xar);
    return slot != nullptr ? record_of(slot, pool) : record_of_new_area(pool, soft_failure, xar);
}

void *take_pool_record(int pool, int soft_failure, int xar) {
    return IsThreadingEnabled() ? take_record<clump_guard>(pool, soft_failure, xar)
                                : take_record<no_guard>(pool, soft_failure, xar);
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

// Overwritten under the lock: a free slot may be the next request's at once.
static inline void push_free_slot(const clump_entry &entry, area_header *area, slot_header *slot) {
    slot->next_free = area->first_free;
    area->first_free = static_cast<std::int16_t>(slot->offset);
    area->used--;
    slot->tag = TAG_FREE;
    fill_record<0xFF>(data_of_slot(slot), static_cast<std::size_t>(entry.rounded));
}

// True if the area has become empty and left the pool.
static bool push_and_place(clump_entry &entry, area_header *area, slot_header *slot) {
    const clump_guard guard;
    const bool was_full = !has_room(entry, area);
    push_free_slot(entry, area, slot);
    const bool is_empty = area->used == 0;
    if (was_full || is_empty) {
        place_area(entry, area);
    }
    return is_empty;
}

[[gnu::noinline]] static int release_and_place(clump_entry &entry, area_header *area,
                                               slot_header *slot) {
    if (push_and_place(entry, area, slot)) {
        release_area_block(area);
    }
    return 1;
}

template <class Guard>
[[gnu::noinline]] static int release_slot(clump_entry &entry, area_header *area,
                                          slot_header *slot) {
    {
        [[maybe_unused]] const Guard guard;
        if (has_room(entry, area) && area->used > 1) { // the area keeps its place
            push_free_slot(entry, area, slot);
            return 1;
        }
    }
    return release_and_place(entry, area, slot);
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
    if (area == nullptr || !is_table_index(area->pool)) {
        crash();
        return 1;
    }
    clump_entry &entry = clump_table[area->pool];
    // Before the lock: the loop's own bookkeeping allocates.
    if (is_in_loop(entry)) {
        debug_mark_released_memory(&entry.loop, data);
    }
    return IsThreadingEnabled() ? release_slot<clump_guard>(entry, area, slot)
                                : release_slot<no_guard>(entry, area, slot);
}

void *relocmem_clump(void *data, int new_size, int xar) {
    static_cast<void>(xar);
    if (data == nullptr || !is_pool_record(data)) {
        return nullptr;
    }
    slot_header *const slot = slot_of(data);
    const area_header *const area = area_of(slot);
    if (area != nullptr && area->pool < 0) {
        return nullptr;
    }
    if (area == nullptr || !is_table_index(area->pool)) {
        crash();
        return nullptr;
    }
    const clump_entry &entry = clump_table[area->pool];
    if (entry.kind == POOL_EXPLICIT) {
        dbg_err_crash("relocmem_clump", "Cannot reallocate a user registered clump!");
    }
    const int record_xar = slot->tag == TAG_IN_USE_XAR ? XAR_BLOCK : PLAIN_BLOCK;
    // Size 0 gives a block of no bytes, as the resize of a general block does.
    void *const moved = new_size != 0 ? getmem_xar(new_size, record_xar)
                                      : manage_memory(0, nullptr, FAIL_TO_TRAPS, record_xar);
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
    return area != nullptr && is_table_index(area->pool) ? area->pool : -1;
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
