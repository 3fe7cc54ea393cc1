// The system calls that create, rename or remove, each followed by a notice to the directory cache.
//
// Each function makes the POSIX call of the same name and returns its result and its errno
// unchanged. The notice follows whether or not the call succeeded: it drops the cached listing of
// the directory that holds the name, so that the next listing of that directory is read afresh.
// Names are host paths and may not be null. The directory cache is not locked: one thread at a
// time.
#pragma once

#include <cstdio>

#include <sys/types.h>

// The notice is given for every mode that does not begin with "r" or "R".
std::FILE *dci_fopen(const char *name, const char *mode);
// The notice is given when flags hold O_CREAT.
int dci_open(const char *name, int flags, mode_t mode);
// The notice is given for both names.
int dci_rename(const char *from, const char *to);
int dci_unlink(const char *name);
int dci_mkdir(const char *name, mode_t mode);
int dci_rmdir(const char *name);
