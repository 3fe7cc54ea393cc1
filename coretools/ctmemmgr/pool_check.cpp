// The checker of pools, for tests and debugging.
#include "coretools/ctmemmgr/pools_internal.h"

namespace {

// True if the free list holds `count` slots, all of them free.
bool free_list_has(area_header *area, int stride, int count) {
    int offset = area->first_free;
    for (; count > 0; count--) {
        if (offset < 0 || offset >= area->fresh || offset % stride != 0) {
            return false;
        }
        const slot_header *const slot = slot_at(area, static_cast<std::size_t>(offset));
        if (slot->tag != TAG_FREE) {
            return false;
        }
        offset = slot->next_free;
    }
    return offset == NO_SLOT;
}

pool_check check_area(const clump_entry &entry, int pool, area_header *area) {
    if (area->self != area || area->pool != pool) {
        return POOL_BAD_LINK;
    }
    const auto stride = static_cast<int>(stride_of(entry));
    const int written = area->fresh / stride; // the slots that were ever in use
    if (area->fresh % stride != 0 || written > entry.slots_per_area) {
        return POOL_BAD_FREE_LIST;
    }
    int in_use = 0;
    for (int offset = 0; offset < area->fresh; offset += stride) {
        const slot_header *const slot = slot_at(area, static_cast<std::size_t>(offset));
        const bool used = is_tag_in_use(slot->tag);
        if (slot->offset != offset || (used ? slot->next_free != NO_SLOT : slot->tag != TAG_FREE)) {
            return POOL_BAD_SLOT;
        }
        in_use += used ? 1 : 0;
    }
    if (in_use != area->used || in_use == 0) {
        return POOL_BAD_COUNT;
    }
    return free_list_has(area, stride, written - in_use) ? POOL_IS_VALID : POOL_BAD_FREE_LIST;
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
