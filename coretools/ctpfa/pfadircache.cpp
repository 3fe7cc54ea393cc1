// The table of the directory cache: entries, their index by name, free slots and eviction.
#include "coretools/ctpfa/pfadircache.h"

#include "coretools/ctpfa/pfadircache_internal.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfastream.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

dir_cache_entry *dir_cache = nullptr;
btree *index_by_name = nullptr;
int num_inactive = 0;

namespace {

constexpr int TABLE_STEP = 20;

void *index_as_data(int index) {
    return reinterpret_cast<void *>(static_cast<std::intptr_t>(index));
}

const char *name_of(const void *data) {
    return dir_cache[reinterpret_cast<std::intptr_t>(data)].name;
}

int pfadc_compare_string(const void *name, const void *data) {
    return std::strcmp(static_cast<const char *>(name), name_of(data));
}

int pfadc_compare_int(const void *a, const void *b) {
    return std::strcmp(name_of(a), name_of(b));
}

int first_free_entry() {
    const int count = xar_count(&dir_cache);
    for (int i = 0; i < count; ++i) {
        if (dir_cache[i].state == PFA_E_INACTIVE) {
            return i;
        }
    }
    return -1;
}

// The entry unused for longest, not lent and not used in this second; -1 when there is none.
int least_recently_used() {
    std::time_t earliest = std::time(nullptr);
    int found = -1;
    const int count = xar_count(&dir_cache);
    for (int i = 0; i < count; ++i) {
        const dir_cache_entry &entry = dir_cache[i];
        // The time first: while a table is filled in one second no record need be looked at.
        if (entry.time < earliest &&
            (entry.record == nullptr || (entry.record->flags & PFA_F_LENT) == 0)) {
            earliest = entry.time;
            found = i;
        }
    }
    return found;
}

int append_free_entry() {
    dir_cache_entry *entry = pfadc_append(&dir_cache);
    if (entry == nullptr) {
        return -1;
    }
    entry->state = PFA_E_INACTIVE;
    ++num_inactive;
    return xar_count(&dir_cache) - 1;
}

} // namespace

int pfa_dir_cache_debug() {
    static const int on = [] {
        const char *value = std::getenv("___DIR_CACHE_DEBUG");
        return value != nullptr && value[0] != 'f' && value[0] != 'F';
    }();
    return on;
}

bool pfadc_create() {
    if (dir_cache == nullptr) {
        dir_cache = xar_alloc_of<dir_cache_entry>(0, TABLE_STEP);
    }
    if (index_by_name == nullptr) {
        index_by_name = new_rbtree(0);
    }
    return dir_cache != nullptr && index_by_name != nullptr;
}

int pfadc_index_of(const btree_node *node) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(node->data));
}

btree_node *pfadc_find_dir_low(const char *name) {
    btree_node *node = nullptr;
    btree_locate(index_by_name, name, pfadc_compare_string, &node, nullptr, nullptr);
    return node;
}

bool pfadc_add_index_entry(int index) {
    return insert_data_into_rbtree(index_by_name, index_as_data(index), pfadc_compare_int) !=
           nullptr;
}

pfa_status pfadc_clean_cache_entry(int index, btree_node *node) {
    if (pfa_file_is_open(dir_cache[index].record)) {
        const pfa_status status = pfa_close(dir_cache[index].record);
        if (status != PFA_E_NO_ERROR) {
            return status;
        }
    }
    if (node == nullptr) {
        node = btree_lookup(index_by_name, index_as_data(index), pfadc_compare_int);
    }
    // A name that another entry holds too stands in the index for that entry.
    if (node != nullptr && pfadc_index_of(node) == index) {
        rbtree_delete_node(index_by_name, node);
    }
    dir_cache_entry *entry = &dir_cache[index];
    if (entry->record != nullptr) {
        (void)pfa_free_vek_file(&entry->record);
    }
    pfadc_free_appdata(entry);
    if (entry->state != PFA_E_INACTIVE) {
        ++num_inactive;
    }
    entry->time = 0;
    entry->name[0] = '\0';
    entry->state = PFA_E_INACTIVE;
    return PFA_E_NO_ERROR;
}

int pfadc_free_slot() {
    int index = -1;
    if (num_inactive > 0) {
        index = first_free_entry();
    } else if (xar_count(&dir_cache) >= max_dir_cache_size) {
        index = least_recently_used();
    }
    if (index >= 0) {
        return pfadc_clean_cache_entry(index, nullptr) == PFA_E_NO_ERROR ? index : -1;
    }
    return append_free_entry();
}

vek_file *pfa_dir_cache_owner(const void *listing) {
    const int count = xar_count(&dir_cache);
    for (int i = 0; i < count; ++i) {
        vek_file *record = dir_cache[i].record;
        if (dir_cache[i].state != PFA_E_INACTIVE && record->location_handle == listing) {
            return record;
        }
    }
    return nullptr;
}

void dbg_dump_pfadc_entry(const void *data) {
    std::printf("%s", name_of(data));
}
