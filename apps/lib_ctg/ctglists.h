// What the steps of a build share: their result, the root, and the lists of members.
//
// The scan appends to src_list, sort_catalog makes sorted_list from it, and write_list and
// check_duplicates read sorted_list. The lists exist only while make_catalog_file runs. One build
// at a time: nothing here is locked.
#pragma once

#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctpfa/vek_file.h"

#include <algorithm>
#include <cstdint>

// The result of a step. A negative one ends the build at once, without a catalog.
enum [[nodiscard]] ctg_result : int{
    CTG_TOO_MANY = -2,
    CTG_OUT_OF_MEMORY = -1,
    CTG_FAILED = 0,
    CTG_DONE = 1,
};

// The library root: the text that directories are named by, and how many leading characters of a
// scanned directory's path belong to the root, its separator included.
struct library_root {
    char text[PFA_PATH_SIZE];
    int prefix_length;
};

// A catalogued file: a block of its own, owned by src_list.
struct member_record {
    std::int32_t type;        // object type code; 0 or less is kept but not catalogued
    char name[PFA_PATH_SIZE]; // without extension and version, case as on disk
    char path[PFA_PATH_SIZE]; // directory below the root, without '/' at either end
};
static_assert(sizeof(member_record) == 524);

// An element of sorted_list; name and path are blocks of PFA_PATH_SIZE bytes that it owns.
struct sort_entry {
    std::int32_t type;
    char *name;
    char *path;
};

// Elements by which a list grows at first.
constexpr int LIST_STEP = 100;

// The most members for which each list can hold one element.
constexpr int MEMBER_LIMIT =
    XAR_LIMIT_BYTES / static_cast<int>(std::max(sizeof(sort_entry), sizeof(member_record *)));

extern member_record **src_list;
extern sort_entry *sorted_list;

// The text of the root, for messages and for the catalog's name and path.
extern char target_dir[PFA_PATH_SIZE];

// Number of members whose type is 1 or more.
int count_members();

// Releases what the elements of both lists own. The lists themselves stay.
void release_memory_used();
