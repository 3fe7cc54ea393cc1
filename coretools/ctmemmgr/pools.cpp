// Pool records: areas, slots and their free lists.
#include "coretools/ctmemmgr/block_internal.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/pools_internal.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmisc/crash.h"

#include <algorithm>
#include <cstring>

namespace {

slot_header *slot_of(const void *data) {
    return reinterpret_cast<slot_header *>(
        const_cast<char *>(static_cast<const char *>(data) - sizeof(slot_header)));
}

char *data_of_slot(slot_header *slot) {
    return reinterpret_cast<char *>(slot) + sizeof(slot_header);
}

// Returns the area of a slot; null if the slot does not lead to one. Needs no lock: what it reads
// does not change while a slot of the area is in use.
area_header *area_of(const slot_header *slot) {
    const std::size_t back = sizeof(area_header) + slot->offset * SLOT_UNIT;
    if (back >= Stat_clump_size || reinterpret_cast<std::uintptr_t>(slot) % SLOT_UNIT != 0) {
        return nullptr;
    }
    auto *const area = reinterpret_cast<area_header *>(
        const_cast<char *>(reinterpret_cast<const char *>(slot)) - back);
    return area->self == area ? area : nullptr;
}

// Returns data, as memset does. Fills small records as two overlapping halves of fixed size, since
// the call of memset would cost as much as all the rest.
template <unsigned char value>
inline void *fill_record(char *data, std::size_t bytes) {
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

void unlink_area(clump_entry &entry, area_header *area) {
    (area->prev != nullptr ? area->prev->next : entry.first_area) = area->next;
    (area->next != nullptr ? area->next->prev : entry.last_area) = area->prev;
}

// Links an area behind prev; first if that is null.
void link_area(clump_entry &entry, area_header *area, area_header *prev) {
    area_header *const next = prev != nullptr ? prev->next : entry.first_area;
    area->prev = prev;
    area->next = next;
    (prev != nullptr ? prev->next : entry.first_area) = area;
    (next != nullptr ? next->prev : entry.last_area) = area;
}

[[gnu::noinline]] bool replace_first_area(clump_entry &entry, area_header *front) {
    area_header *const second = front->next;
    if (second == nullptr || !has_room(entry, second)) {
        return false;
    }
    unlink_area(entry, front);
    link_area(entry, front, entry.last_area);
    return true;
}

// False if no area has room. The first may be full, but the others with room come before the full
// ones, so checking two is enough.
inline bool make_first_area_with_room(clump_entry &entry) {
    area_header *const front = entry.first_area;
    return front != nullptr && (has_room(entry, front) || replace_first_area(entry, front));
}

area_header *make_area(int pool, failure_mode mode) {
    auto *const area = static_cast<area_header *>(new_area_block(mode));
    if (area != nullptr) {
        *area = {0, static_cast<std::int16_t>(pool), NO_SLOT, nullptr, nullptr, area, 0};
    }
    return area;
}

// Takes the slot released last, else the next fresh one. The headers of fresh slots are written
// only now: a new area costs the same however many slots it has.
inline slot_header *pop_free_slot(area_header *area, std::size_t stride) {
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

// Takes a slot from the first area, which has room.
inline slot_header *take_slot(const clump_entry &entry, block_kind kind) {
    area_header *const area = entry.first_area;
    slot_header *const slot = pop_free_slot(area, stride_of(entry));
    area->used++;
    slot->next_free = NO_SLOT;
    slot->mark = NO_MARK;
    slot->tag = kind == XAR_BLOCK ? TAG_IN_USE_XAR : TAG_IN_USE;
    return slot;
}

// Both ways, into a pool and out of it, are made twice from one text: with the lock, and with
// no_guard for runs without threads, which then save no registers around calls. The steps that are
// seldom taken are not inlined for the same reason.
struct no_guard {};

// Null if there is no such pool, or no area with room.
template <class Guard>
inline slot_header *slot_of_pool(int pool, block_kind kind) {
    [[maybe_unused]] const Guard guard;
    if (!is_pool_index(pool) || !make_first_area_with_room(clump_table[pool])) {
        return nullptr;
    }
    return take_slot(clump_table[pool], kind);
}

slot_header *slot_of_new_area(int pool, area_header *area, block_kind kind) {
    const clump_guard guard;
    clump_entry &entry = clump_table[pool];
    // Other threads may have made room meanwhile: no full area may come to stand before it.
    make_first_area_with_room(entry);
    link_area(entry, area, nullptr);
    return take_slot(entry, kind);
}

bool is_known_pool(int pool) {
    const clump_guard guard;
    return is_pool_index(pool);
}

inline bool is_in_loop(const clump_entry &entry) {
    return entry.loop.active.load(std::memory_order_relaxed) != 0;
}

inline void *zeroed(const clump_entry &entry, slot_header *slot) {
    return fill_record<0>(data_of_slot(slot), static_cast<std::size_t>(entry.rounded));
}

[[gnu::noinline]] void *zeroed_for_loop(clump_entry &entry, slot_header *slot) {
    debug_memory_loop_alloc(&entry.loop, data_of_slot(slot));
    return zeroed(entry, slot);
}

inline void *record_of(int pool, slot_header *slot) {
    clump_entry &entry = clump_table[pool];
    return is_in_loop(entry) ? zeroed_for_loop(entry, slot) : zeroed(entry, slot);
}

[[gnu::noinline]] void *record_of_new_area(int pool, failure_mode mode, block_kind kind) {
    // Made without the lock: exhausted memory may jump to a trap frame.
    area_header *const area = is_known_pool(pool) ? make_area(pool, mode) : nullptr;
    return area != nullptr ? record_of(pool, slot_of_new_area(pool, area, kind)) : nullptr;
}

template <class Guard>
[[gnu::noinline]] void *take_record(int pool, failure_mode mode, block_kind kind) {
    slot_header *const slot = slot_of_pool<Guard>(pool, kind);
    return slot != nullptr ? record_of(pool, slot) : record_of_new_area(pool, mode, kind);
}

// Overwrites under the lock: a free slot may be the next request's at once.
inline void push_free_slot(const clump_entry &entry, area_header *area, slot_header *slot) {
    slot->next_free = area->first_free;
    area->first_free = static_cast<std::int16_t>(slot->offset);
    area->used--;
    slot->tag = TAG_FREE;
    fill_record<0xFF>(data_of_slot(slot), static_cast<std::size_t>(entry.rounded));
}

// Puts a slot back and its area into its new place. Returns true if the area has become empty and
// left the pool.
bool push_and_place(clump_entry &entry, area_header *area, slot_header *slot) {
    const clump_guard guard;
    const bool was_full = !has_room(entry, area);
    push_free_slot(entry, area, slot);
    if (area->used == 0) {
        unlink_area(entry, area);
        return true;
    }
    if (was_full && area != entry.first_area && has_room(entry, area)) {
        unlink_area(entry, area);
        link_area(entry, area, entry.first_area);
    }
    return false;
}

[[gnu::noinline]] int release_and_place(clump_entry &entry, area_header *area, slot_header *slot) {
    if (push_and_place(entry, area, slot)) {
        release_area_block(area);
    }
    return 1;
}

template <class Guard>
[[gnu::noinline]] int release_slot(clump_entry &entry, area_header *area, slot_header *slot) {
    {
        [[maybe_unused]] const Guard guard;
        if (has_room(entry, area) && area->used > 1) { // the area keeps its place
            push_free_slot(entry, area, slot);
            return 1;
        }
    }
    return release_and_place(entry, area, slot);
}

[[gnu::noinline]] int release_again(void *data) {
    dbg_err_crash("rlsmem_clump", " release of already released object");
    return pool_tag_of(data) == TAG_FREE ? 1 : rlsmem_clump(data);
}

} // namespace

void *take_pool_record(int pool, failure_mode mode, block_kind kind) {
    return IsThreadingEnabled() ? take_record<clump_guard>(pool, mode, kind)
                                : take_record<no_guard>(pool, mode, kind);
}

void *getmem_pool_xar(int pool, int xar) {
    return take_pool_record(pool, FAIL_TO_TRAPS, kind_of(xar));
}

void *getmem_pool(int pool) {
    return take_pool_record(pool, FAIL_TO_TRAPS, PLAIN_BLOCK);
}

int rlsmem_clump(void *data) {
    if (data == nullptr) {
        return 0;
    }
    const std::uint16_t tag = pool_tag_of(data);
    if (tag == TAG_FREE) {
        return release_again(data);
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
    // Without the lock: the loop's own bookkeeping allocates.
    if (is_in_loop(entry)) {
        debug_mark_released_memory(&entry.loop, data);
    }
    return IsThreadingEnabled() ? release_slot<clump_guard>(entry, area, slot)
                                : release_slot<no_guard>(entry, area, slot);
}

void *relocmem_clump(void *data, int new_size, int) {
    if (data == nullptr || !is_pool_record(data)) {
        return nullptr;
    }
    const slot_header *const slot = slot_of(data);
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
    const block_kind kind = slot->tag == TAG_IN_USE_XAR ? XAR_BLOCK : PLAIN_BLOCK;
    // Size 0 makes a block without bytes, as the resize of a general block does.
    void *const moved =
        new_size != 0 ? getmem_xar(new_size, kind) : manage_memory(0, nullptr, FAIL_TO_TRAPS, kind);
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
