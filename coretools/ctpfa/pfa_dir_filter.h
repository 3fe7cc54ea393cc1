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

// True if the listing shows an entry to its reader; for implementations of "PfaDirReadNext". A null
// filter takes every entry.
inline bool pfa_filter_takes(const pfa_dir_filter *filter, vek_file *directory, const char *name,
                             bool with_kind, int kind, void *argument) {
    if (filter == nullptr) {
        return true;
    }
    return (with_kind ? filter->by_name_and_kind(directory, name, kind, argument)
                      : filter->by_name(directory, name, argument)) == 0;
}
