// The catalog driver, and the lists that its steps share.
//
// A build scans the tree into src_list, sorts copies of the members into sorted_list, writes the
// catalog from them and reports duplicates. The lists exist only while make_catalog_file runs. One
// build at a time: nothing here is locked.
#pragma once

#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctpfa/vek_file.h"

#include <algorithm>
#include <cstdint>

// What a step of a build answers. With a negative answer the build ends at once and no catalog is
// written.
enum ctg_result : int {
    CTG_TOO_MANY = -2,
    CTG_OUT_OF_MEMORY = -1,
    CTG_FAILED = 0,
    CTG_DONE = 1,
};

// A catalogued file; a block of its own, owned by src_list.
struct member_record {
    std::int32_t type;        // object type code; 0 or less is kept but not catalogued
    char name[PFA_PATH_SIZE]; // without extension and version, case as on disk
    char path[PFA_PATH_SIZE]; // directory below the root, without '/' at either end
};
static_assert(sizeof(member_record) == 524);

// An element of sorted_list; name and path are blocks of PFA_PATH_SIZE bytes of its own.
struct sort_entry {
    std::int32_t type;
    char *name;
    char *path;
};

constexpr int LIST_STEP = 100;

// The most members of which both lists can hold one each.
constexpr int MEMBER_LIMIT =
    XAR_LIMIT_BYTES / static_cast<int>(std::max(sizeof(sort_entry), sizeof(member_record *)));

extern member_record **src_list;
extern sort_entry *sorted_list;

// The root that messages and the catalog path are made from: absolute, without a final '/', unless
// it begins with a host or a drive.
extern char target_dir[PFA_PATH_SIZE];

// Builds the catalog of the library at root, a text of fewer than PFA_PATH_SIZE characters that
// loses its final '/'. 1 when the whole tree was scanned and the catalog was written, else 0 after
// a message.
int make_catalog_file(char *root);

// Releases what the elements of both lists own, each list by its own count; the lists stay.
void release_memory_used();
