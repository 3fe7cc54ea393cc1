// The library root: the text that a build works on.
#pragma once

#include "apps/lib_ctg/ctgcore.h"

// Settles the root that was asked for, a non-empty text without the final '/' that a user may add.
// Writes the text to work on and the number of leading characters of a scanned directory path that
// belong to the root, its separator included.
//
// A plain absolute root, and one that begins with a host or a drive, is taken as it is; any other
// (relative, with '.', '..', empty segments, '~' or '$') becomes the absolute directory that it
// names, which is the empty text for the top of the file system.
//
// CTG_FAILED when the file access layer would take the text for another directory; target is then
// the root as it came. CTG_OUT_OF_MEMORY likewise.
[[nodiscard]] ctg_result resolve_root(const char *root, char target[PFA_PATH_SIZE],
                                      int *prefix_length);
