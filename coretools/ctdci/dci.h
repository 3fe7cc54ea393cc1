// The system calls that create, rename or remove, each followed by a notice to the directory cache.
#pragma once

#include <cstdio>
#include <sys/types.h>

std::FILE *dci_fopen(const char *name, const char *mode);
int dci_open(const char *name, int flags, mode_t mode);
int dci_rename(const char *from, const char *to);
int dci_unlink(const char *name);
int dci_mkdir(const char *name, mode_t mode);
int dci_rmdir(const char *name);
