// The table behind the directory cache, shared by the files that make it up.
//
// Invariants between calls:
//   - an entry is free (state PFA_E_INACTIVE: time 0, empty name, no record, no data) or in use;
//     num_inactive counts the free ones
//   - index_by_name holds the index of every entry in use and of no other, ordered by name
//   - the record of an entry in use is open and not borrowed; it is lent while, and only while, one
//     open record elsewhere has borrowed its listing
#pragma once

#include "coretools/ctmemmgr/btree.h"
#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctpfa/vek_file.h"

#include <ctime>

struct dir_cache_appdata {
    int type;
    void *data;
};

struct dir_cache_entry {
    char name[PFA_PATH_SIZE];   // the key
    std::time_t time;           // of the last use
    vek_file *record;           // holds the listing
    int state;                  // 0, PFA_E_NOT_CACHABLE (forced), PFA_E_NOT_VALID (stale),
                                // PFA_E_INACTIVE (free)
    dir_cache_appdata *appdata; // extensible array, or null
};

// Beyond this many entries one is reused before one is added.
constexpr int max_dir_cache_size = 256;

extern dir_cache_entry *dir_cache; // extensible array; null before the first insertion
extern btree *index_by_name;       // entry indexes by value
extern int num_inactive;

// Appends one zero element to an array; null without memory and where the array is full. (Growth
// past the limit of an array is an error of the process, not just of the call.)
template <class T>
T *pfadc_append(T **array) {
    int count = 0;
    int maximum = 0;
    xar_params(array, nullptr, nullptr, &count, &maximum);
    return count < maximum ? xar_extend(array, 1) : nullptr;
}

// Makes the table and its index; false without memory.
bool pfadc_create();
int pfadc_index_of(const btree_node *node);
// The node of the entry with this name, or null.
btree_node *pfadc_find_dir_low(const char *name);
// Puts an entry, by its name, into the index; false without memory or when the name is taken.
bool pfadc_add_index_entry(int index);
// Frees an entry; a free one, even one half filled, is made clean. The node is the entry's in the
// index, or null to have it looked up. A failure to close the listing is answered and changes
// nothing.
pfa_status pfadc_clean_cache_entry(int index, btree_node *node);
// Finds or makes a free entry, evicting the one unused for longest when the table is full: its
// index, or -1 without memory or room.
int pfadc_free_slot();
void pfadc_free_appdata(dir_cache_entry *entry);
void dbg_dump_pfadc_entry(const void *data);
int is_name_forced_cache(const char *name);
// Drops the listing of the directory of this key.
void pfa_full_dir_name_update_cache(const char *name);
