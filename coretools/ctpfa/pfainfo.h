// Predicates of a path record.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// 1 for a record that is not null and carries the magic number, else 0.
inline int pfa_is_valid(const vek_file *record) {
    return record != nullptr && record->magic == PFA_MAGIC ? 1 : 0;
}

// 1 when the file is on this host: it names no host, this machine's name in either case, or another
// name of it that the resolver knows. Else 0; -1 for an invalid record. Only a record of the
// standard filesystem with a host asks the resolver.
int pfa_is_local(const vek_file *record);

// Marks the record's file as lying on a file system that is not local. 1; 0 for an invalid record.
int pfa_set_mounted(vek_file *record);
