// What the standard filesystem knows of an open directory beside its entries.
#pragma once

#include "coretools/ctpfa/vek_file.h"

#include <sys/types.h>

// Stores which directory of the host is open on a record, whatever path led to it, as the host said
// when it was read. False, and nothing is stored, if no directory of the standard filesystem is
// open or the host could not tell.
bool pfafs_get_dir_identity(const vek_file *directory, dev_t *device, ino_t *inode);
