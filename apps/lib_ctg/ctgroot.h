// The library root: the text that a build works on.
#pragma once

#include "apps/lib_ctg/ctglists.h"

// Finds the directory that `root` names, a text without the final '/' that a user may add.
//
// A plain absolute root, and one that begins with a host or a drive, keeps its text. Any other
// (relative, with '.', '..', empty segments, '~' or '$') gets the text of the absolute directory
// that it names, which is empty for the top of the file system, as it is for an empty root.
//
// Results:
//   CTG_FAILED         the file access layer would take the text for another directory;
//   CTG_OUT_OF_MEMORY  in both cases the text is `root`
ctg_result resolve_root(const char *root, library_root *resolved);
