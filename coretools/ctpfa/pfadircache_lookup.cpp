// Looking directories up in the directory cache, and adding them.
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/memory_loop.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmisc/run_mode.h"
#include "coretools/ctpfa/pfadircache.h"
#include "coretools/ctpfa/pfadircache_internal.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfaloc_call.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfastream.h"

#include <cstring>

namespace {

bool is_lent(const vek_file *record) {
    return (record->flags & PFA_F_LENT) != 0;
}

bool is_forced(const char *key) {
    return pfa_get_autocache() || is_name_forced_cache(key);
}

// The location is asked at every use, save that a memory loop starts each of its rounds afresh.
bool is_invalid(const char *key, vek_file *record) {
    return get_in_debug_memory_loop() || pfaloc_call_FLP(record, PfaDirCacheInvalid, key) != 0;
}

// Drops an entry, or marks it stale while a borrower still reads its listing; the answer is that of
// the look-up.
int discard_entry(btree_node *node) {
    const int index = pfadc_index_of(node);
    dir_cache_entry *entry = &dir_cache[index];
    if (is_lent(entry->record)) {
        entry->state = PFA_E_NOT_VALID;
        return 1;
    }
    if (pfa_close(entry->record) != PFA_E_NO_ERROR) {
        dbg_err_crash("pfa_dir_from_cache", "couldn't close cache dir %s", entry->name);
        return 1;
    }
    (void)pfadc_clean_cache_entry(index, node);
    return 0;
}

vek_file *lend(dir_cache_entry *entry) {
    if (is_lent(entry->record)) {
        dbg_err_crash("pfa_dir_from_cache", "two people reading the same dir simultaneously?");
        return nullptr;
    }
    entry->record->flags |= PFA_F_LENT;
    return entry->record;
}

bool may_be_cached(const char *key, vek_file *directory, int open_result) {
    if (open_result != PFA_E_NOT_CACHABLE) {
        return true;
    }
    return is_forced(key) && pfaloc_call_F(directory, PfaIsVirtualFolder) != 0;
}

// A closed copy for the cache to keep, or null without memory.
vek_file *new_cache_record(const vek_file *directory) {
    auto *copy = static_cast<vek_file *>(getmem(sizeof(vek_file)));
    if (copy == nullptr) {
        return nullptr;
    }
    *copy = *directory;
    copy->flags &= ~PFA_F_OPEN;
    copy->location_handle = nullptr;
    if (is_run_mode(RUN_MODE_PFA_TRACE)) {
        dbg_print_info("pfa_add_dir_to_cache", "Created new pfa at: %x\n", pfa_trace_address(copy));
        pfa_mem_debug(copy, 1);
    }
    return copy;
}

// Hands the open listing over: the copy owns it, and the directory has borrowed it.
void hand_over(vek_file *directory, vek_file *copy) {
    copy->location_handle = directory->location_handle;
    copy->flags |= PFA_F_OPEN | PFA_F_LENT;
    directory->flags |= PFA_F_BORROWED;
}

} // namespace

int pfa_dir_from_cache(const char *key, vek_file **donor, int *index, int returning,
                       vek_file *asked, int discard) {
    if (donor != nullptr) {
        *donor = nullptr;
    }
    if (index != nullptr) {
        *index = -1;
    }
    if (dir_cache == nullptr || index_by_name == nullptr) {
        return 0;
    }
    const bool forced = is_forced(key);
    if (!forced && asked != nullptr && pfaloc_call_FP(asked, PfaDirCacheEligible, key) == 0) {
        return 0;
    }
    btree_node *node = pfadc_find_dir_low(key);
    if (node == nullptr) {
        return 0;
    }
    dir_cache_entry *entry = &dir_cache[pfadc_index_of(node)];
    // Two location types may write the same text; a listing is of use to its own type only.
    if (asked != nullptr && asked->location_type != entry->record->location_type) {
        return 0;
    }
    if (!returning && (discard || entry->state == PFA_E_NOT_VALID ||
                       (!forced && is_invalid(key, entry->record)))) {
        return discard_entry(node);
    }
    if (donor != nullptr) {
        entry->time = std::time(nullptr);
        *donor = returning ? entry->record : lend(entry);
    }
    if (index != nullptr) {
        *index = pfadc_index_of(node);
    }
    return 1;
}

// No step that can fail, or be left by a trap, comes between the change of two records: until the
// entry is in use it is a free one, which the next call cleans.
void pfa_add_dir_to_cache(const char *key, vek_file *directory, int open_result) {
    if (!pfa_is_valid(directory) || !pfa_file_is_open(directory) ||
        !may_be_cached(key, directory, open_result)) {
        return;
    }
    if (!pfadc_create() || pfadc_find_dir_low(key) != nullptr) {
        return;
    }
    const std::size_t length = std::strlen(key);
    const int index = length < PFA_PATH_SIZE ? pfadc_free_slot() : -1;
    if (index < 0) {
        return;
    }
    vek_file *copy = new_cache_record(directory);
    if (copy == nullptr) {
        return;
    }
    dir_cache[index].record = copy;
    std::memcpy(dir_cache[index].name, key, length + 1);
    if (!pfadc_add_index_entry(index)) {
        (void)pfadc_clean_cache_entry(index, nullptr);
        return;
    }
    hand_over(directory, copy);
    dir_cache[index].state = open_result;
    dir_cache[index].time = std::time(nullptr);
    --num_inactive;
    if (pfa_dir_cache_debug()) {
        dbg_dump_rbtree(index_by_name, dbg_dump_pfadc_entry);
    }
}
