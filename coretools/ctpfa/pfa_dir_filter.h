// Filters of a directory listing.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// 0 takes the entry, anything else passes over it. by_name is called when the reader does not
// want the directory answer, by_name_and_kind when it does (is_dir 1 or 0).
struct pfa_dir_filter {
    int (*by_name)(vek_file *directory, const char *name, void *argument);
    int (*by_name_and_kind)(vek_file *directory, const char *name, int is_dir, void *argument);
};
