// Predicates of a path record.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// True if the record is not null and carries the magic number.
inline int pfa_is_valid(const vek_file *record) {
    return record != nullptr && record->magic == PFA_MAGIC ? 1 : 0;
}

// True if the file is on this host: the record names no host, this machine's name in either case,
// or another name of it that the resolver knows. -1 for an invalid record. Asks the resolver only
// for a record of the standard filesystem with a host.
int pfa_is_local(const vek_file *record);

// Marks the file as lying on a file system that is not local. True if the record is
// valid.
int pfa_set_mounted(vek_file *record);
