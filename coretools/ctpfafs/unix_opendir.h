// Directory snapshots: the names of a host directory, read whole when it is opened.
//
// A snapshot owns its names and belongs to one thread at a time.
#pragma once

#include <ctime>

#include <sys/types.h>

// What the host said of the directory itself, right after its names were read.
struct unix_dir_status {
    bool known; // false: the host could not tell, and the rest is zero
    dev_t device;
    ino_t inode;
    std::time_t mtime; // in seconds
    std::time_t atime;
};

struct unix_dir {
    char **names; // extensible array: the entries in the host's order, then one null
    int next;     // index of the next name to return
    char *text;   // the block of memory in which the names lie
    unix_dir_status status;
};

// Reads a directory, except "." and ".." and names of PFA_PATH_SIZE characters or more. No
// descriptor stays open. `pattern` is not used.
//
// Returns null if the directory cannot be read to its end (errno as the host set it), if it has
// more names than an array can hold, or if memory runs out (errno ENOMEM).
[[nodiscard]] unix_dir *unix_opendir(const char *name, const char *pattern);
// Returns the next name, which the snapshot owns; null at the end and in every further call.
// *index becomes -1, as this host numbers no entries; `index` may be null.
const char *unix_readdir(unix_dir *snapshot, int *index);
// Releases the snapshot and its names. `snapshot` may be null. Returns 0.
int unix_closedir(unix_dir *snapshot);

// The same, under names that do not tell which host system is behind them.
[[nodiscard]] unix_dir *os_opendir(const char *name, const char *pattern);
const char *os_readdir(unix_dir *snapshot, int *index);
int os_closedir(unix_dir *snapshot);

// Returns the kind of an entry (see pfa_entry_kind). `name` is one that os_readdir returned.
int os_entry_kind(const char *name);
