// Filters of a directory listing.
#pragma once

#include "coretools/ctpfa/pfa_entry_kind.h"
#include "coretools/ctpfa/vek_file.h"

// What the method that reads the next entry asks about each name. 0 takes the entry, anything else
// passes over it, so that a filter which never takes one sees the whole listing in one call.
// by_name is called when the reader does not ask for the kind of the entry, by_name_and_kind when
// it does (is_dir is the kind, see pfa_entry_kind); the other one may be null.
struct pfa_dir_filter {
    int (*by_name)(vek_file *directory, const char *name, void *argument);
    int (*by_name_and_kind)(vek_file *directory, const char *name, int is_dir, void *argument);
};
