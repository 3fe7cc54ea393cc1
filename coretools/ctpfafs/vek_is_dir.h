// Whether a host path names a directory.
#pragma once

#include "coretools/ctpfa/pfa_entry_kind.h"

// Returns the kind of path (see pfa_entry_kind), asked of the host.
int vek_kind_of(const char *path);
// 1 if path is a directory, else 0, also when the host cannot tell.
int vek_is_dir(const char *path);
