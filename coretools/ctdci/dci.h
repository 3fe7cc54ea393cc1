// System calls that create, rename or remove files, each followed by a notice to the directory
// cache.
//
// Each makes the POSIX call of the same name and returns its result, with its errno. The notice is
// given even if the call fails: it drops the cached listing of the directory that holds the name.
// Names are host paths and not null. Call from one thread at a time: the cache is not locked.
#pragma once

#include <cstdio>

#include <sys/types.h>

// No notice if the mode begins with "r" or "R".
std::FILE *dci_fopen(const char *name, const char *mode);
// No notice without O_CREAT in `flags`.
int dci_open(const char *name, int flags, mode_t mode);
// A notice for each name.
int dci_rename(const char *from, const char *to);
int dci_unlink(const char *name);
int dci_mkdir(const char *name, mode_t mode);
int dci_rmdir(const char *name);
