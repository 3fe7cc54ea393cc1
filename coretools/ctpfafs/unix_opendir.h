// Directory snapshots: the names of a host directory, read whole when it is opened.
#pragma once

// names is an extensible array: the entries in the order in which the host returned them, followed
// by one null. All names lie in one block of text, which the snapshot owns with them; the byte
// before each holds what the host listed the entry as.
struct unix_dir {
    char **names;
    int next; // index of the next name to return
    char *text;
};

// Reads the directory; its descriptor is closed again when this returns. "." and ".." and names of
// 260 characters or more are left out. Null when the directory cannot be opened or read to its end
// (errno as the host set it), when it holds more names than an array can, and when memory is
// exhausted (errno ENOMEM for both): never half a listing. pattern is not used.
[[nodiscard]] unix_dir *unix_opendir(const char *name, const char *pattern);
// The next name, which the snapshot owns; null at the end, and again at every further call.
// *index, which may be null, becomes -1: this host numbers no entries.
const char *unix_readdir(unix_dir *snapshot, int *index);
// What the host listed a name of a snapshot as: 1 a directory, 0 anything else, -1 not known, as
// for a symbolic link.
int unix_listed_as_dir(const char *name);
// Releases the snapshot and its names; 0. Null is allowed.
int unix_closedir(unix_dir *snapshot);

// The same under the names that do not tell which host system stands behind them.
[[nodiscard]] unix_dir *os_opendir(const char *name, const char *pattern);
const char *os_readdir(unix_dir *snapshot, int *index);
int os_listed_as_dir(const char *name);
int os_closedir(unix_dir *snapshot);
