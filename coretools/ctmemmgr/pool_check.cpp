// The checker of pools, for tests and debugging.
#include "coretools/ctmemmgr/pools_internal.h"

namespace {

// The slots on the free list; -1 if it leads elsewhere than to free slots.
int count_free_list(area_header *area, int stride, int written) {
    int free_slots = 0;
    for (int offset = area->first_free; offset != NO_SLOT; free_slots++) {
        if (offset < 0 || offset >= area->fresh || offset % stride != 0 || free_slots > written) {
            return -1;
        }
        const slot_header *const slot = slot_at(area, static_cast<std::size_t>(offset));
        if (slot->tag != TAG_FREE) {
            return -1;
        }
        offset = slot->next_free;
    }
    return free_slots;
}

// The slots in use among those that were written; -1 if a header is wrong.
int count_slots_in_use(area_header *area, int stride, int written) {
    int in_use = 0;
    for (int i = 0; i < written; i++) {
        const slot_header *const slot =
            slot_at(area, static_cast<std::size_t>(i) * static_cast<std::size_t>(stride));
        const bool used = is_tag_in_use(slot->tag);
        if (slot->offset != i * stride || (used && slot->next_free != NO_SLOT) ||
            (!used && slot->tag != TAG_FREE)) {
            return -1;
        }
        in_use += used ? 1 : 0;
    }
    return in_use;
}

pool_check check_area(const clump_entry &entry, int pool, area_header *area) {
    if (area->self != area || area->pool != pool) {
        return POOL_BAD_LINK;
    }
    if (area->used < 1 || area->used > entry.slots_per_area) {
        return POOL_BAD_COUNT;
    }
    const auto stride = static_cast<int>(stride_of(entry));
    const int written = area->fresh / stride; // the slots that were ever in use
    if (area->fresh % stride != 0 || written > entry.slots_per_area) {
        return POOL_BAD_FREE_LIST;
    }
    const int free_slots = count_free_list(area, stride, written);
    if (free_slots < 0) {
        return POOL_BAD_FREE_LIST;
    }
    const int in_use = count_slots_in_use(area, stride, written);
    if (in_use < 0) {
        return POOL_BAD_SLOT;
    }
    return in_use == area->used && in_use + free_slots == written ? POOL_IS_VALID
                                                                  : POOL_BAD_FREE_LIST;
}

} // namespace

pool_check check_mem_pool(int pool) {
    const clump_guard guard;
    if (!is_pool_index(pool)) {
        return POOL_UNKNOWN;
    }
    const clump_entry &entry = clump_table[pool];
    const area_header *prev = nullptr;
    bool full_seen = false; // behind the first area, which may be full
    for (area_header *area = entry.first_area; area != nullptr; area = area->next) {
        const pool_check found = area->prev == prev ? check_area(entry, pool, area) : POOL_BAD_LINK;
        if (found != POOL_IS_VALID) {
            return found;
        }
        const bool full = !has_room(entry, area);
        if (full_seen && !full) {
            return POOL_BAD_ORDER;
        }
        full_seen = prev != nullptr && full;
        prev = area;
    }
    return entry.last_area == prev ? POOL_IS_VALID : POOL_BAD_LINK;
}
