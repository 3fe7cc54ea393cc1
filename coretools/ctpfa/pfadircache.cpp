// The directory cache: its table, its index by name, loans, eviction, settings, application data.
//
// Invariants between calls, and whenever code outside this file runs:
//   - an entry is FREE (no record, no data) or in use; num_inactive counts the free ones
//   - index_by_name holds the index of every entry in use and of no other, ordered by name
//   - the record of an entry in use is lent while one open record elsewhere borrows its listing
//
// Methods of location types and release functions may call back into the layer and change
// everything here. So an entry is held by its index, never by address, and looked up by its name
// again after such a call; an entry is taken out of the table before what it holds is released.
#include "coretools/ctpfa/pfadircache.h"

#include "coretools/ctmemmgr/btree.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/memory_loop.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctmisc/run_mode.h"
#include "coretools/ctpfa/memory_guard_internal.h"
#include "coretools/ctpfa/pfadircache_internal.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfaloc_call.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfamem_internal.h"
#include "coretools/ctpfa/pfastream.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

struct dir_cache_appdata {
    int type;
    void *data;
};

enum class entry_state {
    FREE,
    USABLE,
    STALE, // to be dropped at the next look-up
};

struct dir_cache_entry {
    char name[PFA_PATH_SIZE]; // the key
    std::time_t time;         // of the last use
    vek_file *record;         // owns the listing
    entry_state state;
    dir_cache_appdata *appdata; // extensible array, or null
};

struct forced_cache_dir {
    char name[PFA_PATH_SIZE];
};

constexpr int TABLE_STEP = 20;
// From this many entries on one is reused before one is added.
constexpr int max_dir_cache_size = 256;

dir_cache_entry *dir_cache = nullptr; // extensible array; null before the first insertion
btree *index_by_name = nullptr;       // entry indexes by value
int num_inactive = 0;

int pfa_autocache = 0;
forced_cache_dir *forced_cache_dirs = nullptr; // extensible array
dir_cache_free_func dc_appdata_free_funcs[DIR_CACHE_APPDATA_TYPES] = {};

// Appends one zero element. Null if memory runs out or the array is full: growing it past its limit
// would end the process.
template <class T>
T *append(T **array, int step) {
    if (*array == nullptr) {
        *array = xar_alloc_of<T>(0, step);
    }
    int count = 0;
    int maximum = 0;
    xar_params(array, nullptr, nullptr, &count, &maximum);
    return count < maximum ? xar_extend(array, 1) : nullptr;
}

// The index by name.

void *index_as_data(int index) {
    // The tree holds pointers. NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<void *>(static_cast<std::intptr_t>(index));
}

int data_as_index(const void *data) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(data));
}

const char *name_of(const void *data) {
    return dir_cache[data_as_index(data)].name;
}

int pfadc_compare_string(const void *name, const void *data) {
    return std::strcmp(static_cast<const char *>(name), name_of(data));
}

int pfadc_compare_int(const void *a, const void *b) {
    return std::strcmp(name_of(a), name_of(b));
}

void dbg_dump_pfadc_entry(const void *data) {
    std::printf("%s", name_of(data));
}

// Returns the index of the entry with this name, or -1.
int pfadc_find_dir_low(const char *name) {
    if (index_by_name == nullptr) {
        return -1;
    }
    btree_node *node = nullptr;
    btree_locate(index_by_name, name, pfadc_compare_string, &node, nullptr, nullptr);
    return node == nullptr ? -1 : data_as_index(node->data);
}

// False if memory runs out or the name is taken.
bool pfadc_add_index_entry(int index) {
    return insert_data_into_rbtree(index_by_name, index_as_data(index), pfadc_compare_int) !=
           nullptr;
}

void remove_index_entry(int index) {
    btree_node *node = btree_lookup(index_by_name, index_as_data(index), pfadc_compare_int);
    if (node != nullptr) {
        rbtree_delete_node(index_by_name, node);
    }
}

// Entries.

bool is_lent(int index) {
    return (dir_cache[index].record->flags & PFA_F_LENT) != 0;
}

bool is_entry_in_use(int index) {
    return index >= 0 && index < xar_count(&dir_cache) &&
           dir_cache[index].state != entry_state::FREE;
}

void release_appdata(dir_cache_appdata pair) {
    const dir_cache_free_func function = dc_appdata_free_funcs[pair.type];
    if (function != nullptr) {
        function(pair.data);
    }
}

void pfadc_free_appdata(dir_cache_appdata *pairs) {
    const int count = xar_count(&pairs);
    for (int i = 0; i < count; ++i) {
        release_appdata(pairs[i]);
    }
    xar_free(&pairs);
}

// Frees an entry that is in use and not lent. Closing the listing and releasing the data may call
// back; by then the entry is free.
void pfadc_clean_cache_entry(int index) {
    remove_index_entry(index);
    dir_cache_entry *entry = &dir_cache[index];
    vek_file *record = entry->record;
    dir_cache_appdata *appdata = entry->appdata;
    *entry = {};
    ++num_inactive;
    (void)pfa_close(record); // fails only if something else has closed it
    (void)pfa_free_vek_file(&record);
    pfadc_free_appdata(appdata);
}

// Drops an entry, or marks it as stale while it is lent. Returns what the look-up returns.
int discard(int index) {
    if (is_lent(index)) {
        dir_cache[index].state = entry_state::STALE;
        return 1;
    }
    if (!pfa_file_is_open(dir_cache[index].record)) {
        dbg_err_crash("pfa_dir_from_cache", "couldn't close cache dir %s", dir_cache[index].name);
        return 1;
    }
    pfadc_clean_cache_entry(index);
    return 0;
}

// Notes the use of an entry and returns its record.
vek_file *use(int index) {
    dir_cache[index].time = std::time(nullptr);
    return dir_cache[index].record;
}

// The same, and marks the record as lent; null if it is lent already.
vek_file *lend(int index) {
    vek_file *record = use(index);
    if (is_lent(index)) {
        dbg_err_crash("pfa_dir_from_cache", "two people reading the same dir simultaneously?");
        return nullptr;
    }
    record->flags |= PFA_F_LENT;
    return record;
}

int first_free_entry() {
    int index = 0;
    while (dir_cache[index].state != entry_state::FREE) {
        ++index;
    }
    return index;
}

// Returns the index of the entry with this name that serves `asked` (null: anyone), or -1. Two
// location types may write the same text; a listing is of use to its own type only.
int find_for(const char *key, const vek_file *asked) {
    const int index = pfadc_find_dir_low(key);
    const bool serves =
        index >= 0 &&
        (asked == nullptr || asked->location_type == dir_cache[index].record->location_type);
    return serves ? index : -1;
}

bool may_be_evicted(int index) {
    return is_entry_in_use(index) && !is_lent(index);
}

// Returns the time of the last use of the least recently used entry that may go, `limit` if none
// was used before that.
std::time_t earliest_use(std::time_t limit) {
    const int count = xar_count(&dir_cache);
    for (int i = 0; i < count; ++i) {
        if (dir_cache[i].time < limit && may_be_evicted(i)) {
            limit = dir_cache[i].time;
        }
    }
    return limit;
}

// Returns the entry unused for longest, of several that of the lowest index; -1 if all are lent or
// were used in this second.
//
// The times of entries only grow, so entries go in the order of (time, index), and each search
// starts where the last one ended: the whole table is searched once for each second in it.
int least_recently_used() {
    static struct {
        std::time_t time;
        int index;
    } next = {0, 0}; // no entry that may go comes before this
    const std::time_t now = std::time(nullptr);
    const int count = xar_count(&dir_cache);
    while (next.time < now) {
        for (; next.index < count; ++next.index) {
            if (dir_cache[next.index].time == next.time && may_be_evicted(next.index)) {
                return next.index;
            }
        }
        next = {earliest_use(now), 0};
    }
    if (next.time > now) { // the clock was set back
        next = {0, 0};
    }
    return -1;
}

// Returns the index of a free entry, evicting one if the table is full; -1 if memory runs out. May
// call back.
int free_entry() {
    if (num_inactive == 0 && xar_count(&dir_cache) >= max_dir_cache_size) {
        const int oldest = least_recently_used();
        if (oldest >= 0) {
            pfadc_clean_cache_entry(oldest);
            if (!is_entry_in_use(oldest)) {
                return oldest;
            }
        }
    }
    if (num_inactive > 0) {
        return first_free_entry();
    }
    if (append(&dir_cache, TABLE_STEP) == nullptr) {
        return -1;
    }
    ++num_inactive;
    return xar_count(&dir_cache) - 1;
}

// What decides whether a listing is cached.

bool is_name_forced_cache(const char *name) {
    const int count = xar_count(&forced_cache_dirs);
    for (int i = 0; i < count; ++i) {
        if (std::strcmp(forced_cache_dirs[i].name, name) == 0) {
            return true;
        }
    }
    return false;
}

bool is_forced(const char *key) {
    return pfa_autocache != 0 || is_name_forced_cache(key);
}

bool may_be_cached(const char *key, vek_file *directory, int open_result) {
    if (open_result != PFA_E_NOT_CACHABLE) {
        return true;
    }
    return is_forced(key) && pfaloc_call_F(directory, PfaIsVirtualFolder) != 0;
}

// Returns the index of the entry that `asked` may use, or -1. Asks its location, which may call
// back, whether it wants cached listings.
int find(const char *key, vek_file *asked) {
    const bool eligible =
        dir_cache != nullptr && (asked == nullptr || is_forced(key) ||
                                 pfaloc_call_FP(asked, PfaDirCacheEligible, key) != 0);
    return eligible ? find_for(key, asked) : -1;
}

// Asks the location at every use; it may call back. A memory loop starts each of its rounds afresh.
bool is_out_of_date(const char *key, int index) {
    return get_in_debug_memory_loop() != 0 ||
           pfaloc_call_FLP(dir_cache[index].record, PfaDirCacheInvalid, key) != 0;
}

bool is_stale(const char *key, int index) {
    return dir_cache[index].state == entry_state::STALE ||
           (!is_forced(key) && is_out_of_date(key, index));
}

// A closed copy of an open record; null if memory runs out.
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

struct addition {
    const char *key;
    vek_file *directory;
    vek_file *copy; // not null while no entry owns it
};

// Nothing that can fail comes between the changes of the two records and of the entry.
void add_to_cache(void *argument) {
    auto *adding = static_cast<addition *>(argument);
    if (index_by_name == nullptr) {
        index_by_name = new_rbtree(0);
    }
    if (index_by_name == nullptr || pfadc_find_dir_low(adding->key) >= 0) {
        return;
    }
    adding->copy = new_cache_record(adding->directory);
    const int index = adding->copy == nullptr ? -1 : free_entry();
    if (index < 0) {
        return;
    }
    dir_cache_entry *entry = &dir_cache[index];
    std::strcpy(entry->name, adding->key);
    if (!pfadc_add_index_entry(index)) {
        return;
    }
    entry->record = adding->copy;
    adding->copy = nullptr;
    entry->record->location_handle = adding->directory->location_handle;
    entry->record->flags |= PFA_F_OPEN | PFA_F_LENT;
    adding->directory->flags |= PFA_F_BORROWED;
    entry->state = entry_state::USABLE;
    entry->time = std::time(nullptr);
    --num_inactive;
}

// Returns the index of the entry that owns this listing, or -1.
int owner_of(const void *listing) {
    int index = xar_count(&dir_cache) - 1;
    while (index >= 0 &&
           (!is_entry_in_use(index) || dir_cache[index].record->location_handle != listing)) {
        --index;
    }
    return index;
}

dir_cache_appdata *find_appdata(int index, int type) {
    dir_cache_appdata *pairs = dir_cache[index].appdata;
    const int count = xar_count(&pairs);
    for (int i = 0; i < count; ++i) {
        if (pairs[i].type == type) {
            return &pairs[i];
        }
    }
    return nullptr;
}

bool is_appdata_type(int type) {
    return type >= 0 && type < DIR_CACHE_APPDATA_TYPES;
}

} // namespace

int pfa_dir_cache_debug() {
    static const int on = [] {
        const char *value = std::getenv("___DIR_CACHE_DEBUG");
        return value != nullptr && value[0] != 'f' && value[0] != 'F';
    }();
    return on;
}

int pfa_dir_from_cache(const char *key, vek_file **donor, int *index, int returning,
                       vek_file *asked, int discarding) {
    if (donor != nullptr) {
        *donor = nullptr;
    }
    if (index != nullptr) {
        *index = -1;
    }
    int found = find(key, asked);
    if (found >= 0 && returning == 0) {
        const bool stale = discarding != 0 || is_stale(key, found);
        found = find_for(key, asked);
        if (found >= 0 && (stale || dir_cache[found].state == entry_state::STALE)) {
            return discard(found);
        }
    }
    if (found < 0) {
        return 0;
    }
    if (donor != nullptr) {
        *donor = returning != 0 ? use(found) : lend(found);
    }
    if (index != nullptr) {
        *index = found;
    }
    return 1;
}

void pfa_add_dir_to_cache(const char *key, vek_file *directory, int open_result) {
    if (!pfa_is_valid(directory) || std::strlen(key) >= PFA_PATH_SIZE ||
        !may_be_cached(key, directory, open_result) || !pfa_file_is_open(directory)) {
        return;
    }
    addition adding = {key, directory, nullptr};
    (void)pfa_call_guarded(add_to_cache, &adding);
    if (adding.copy != nullptr) {
        (void)pfa_free_vek_file(&adding.copy);
    } else if (pfa_dir_cache_debug() && (directory->flags & PFA_F_BORROWED) != 0) {
        dbg_dump_rbtree(index_by_name, dbg_dump_pfadc_entry);
    }
}

void pfa_return_dir_to_cache(const char *key, vek_file *directory) {
    const void *borrowed = directory->location_handle;
    directory->flags &= ~PFA_F_BORROWED;
    directory->location_handle = nullptr;
    int owner = find(key, directory);
    if (owner < 0 || dir_cache[owner].record->location_handle != borrowed) {
        dbg_err_crash("pfa_close", "can't find donor of borrowed stream for %s", key);
        owner = owner_of(borrowed);
    }
    if (owner >= 0) {
        use(owner)->flags &= ~PFA_F_LENT;
    }
}

void pfa_full_dir_name_update_cache(const char *name) {
    const int index = find(name, nullptr);
    if (index >= 0) {
        (void)discard(index);
    }
    if (pfa_dir_cache_debug()) {
        std::printf("dir_cache> nuked %s\n", name);
    }
}

void pfa_set_autocache(int on) {
    pfa_autocache = on;
}

int pfa_get_autocache() {
    return pfa_autocache;
}

pfa_status pfa_add_forced_cache_dir(const char *key) {
    const std::size_t length = key == nullptr ? PFA_PATH_SIZE : std::strlen(key);
    if (length >= PFA_PATH_SIZE) {
        return PFA_E_INVALID_INPUT;
    }
    if (is_name_forced_cache(key)) {
        return PFA_E_NO_ERROR;
    }
    forced_cache_dir *added = append(&forced_cache_dirs, 8);
    if (added == nullptr) {
        return PFA_E_OUT_OF_MEMORY;
    }
    std::memcpy(added->name, key, length + 1);
    return PFA_E_NO_ERROR;
}

void pfa_clear_forced_cache_dirs() {
    xar_free(&forced_cache_dirs);
}

pfa_status pfa_register_dir_appdata(int type, dir_cache_free_func function) {
    if (!is_appdata_type(type)) {
        return PFA_E_INVALID_INPUT;
    }
    dc_appdata_free_funcs[type] = function;
    return PFA_E_NO_ERROR;
}

pfa_status pfa_attach_dir_appdata(int index, int type, void *data) {
    if (!is_appdata_type(type)) {
        return PFA_E_INVALID_INPUT;
    }
    if (!is_entry_in_use(index)) {
        return PFA_E_NOT_FOUND;
    }
    const dir_cache_appdata attached = {type, data};
    dir_cache_appdata *pair = find_appdata(index, type);
    if (pair == nullptr) {
        pair = append(&dir_cache[index].appdata, 2);
        if (pair == nullptr) {
            return PFA_E_OUT_OF_MEMORY;
        }
        *pair = attached;
        return PFA_E_NO_ERROR;
    }
    const dir_cache_appdata replaced = *pair;
    *pair = attached;
    if (replaced.data != data) {
        release_appdata(replaced);
    }
    return PFA_E_NO_ERROR;
}

void *pfa_get_dir_appdata(int index, int type) {
    const dir_cache_appdata *pair = is_entry_in_use(index) ? find_appdata(index, type) : nullptr;
    return pair == nullptr ? nullptr : pair->data;
}
