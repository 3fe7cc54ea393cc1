// Filters of a directory listing.
#pragma once

#include "coretools/ctpfa/pfa_entry_kind.h"
#include "coretools/ctpfa/vek_file.h"

// Method "PfaDirReadNext" calls one of the functions for each name: by_name_and_kind if the reader
// wants the kind (see pfa_entry_kind), else by_name; the other one may be null. The function
// returns 0 to take the entry and anything else to pass over it. A filter that takes none sees the
// whole listing in one call.
struct pfa_dir_filter {
    int (*by_name)(vek_file *directory, const char *name, void *argument);
    int (*by_name_and_kind)(vek_file *directory, const char *name, int kind, void *argument);
};
