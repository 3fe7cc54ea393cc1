// The catalog driver: one build from the root to the duplicate report.
//
// A build scans the tree into src_list, sorts copies of the members into sorted_list, writes the
// catalog from them and reports duplicates.
#pragma once

#include "apps/lib_ctg/ctglists.h"

// Builds the catalog of the library at `root`, a text of fewer than PFA_PATH_SIZE characters, whose
// final '/' is cut off. Returns 1 if the whole tree was scanned and the catalog was written, else 0
// after a message.
int make_catalog_file(char *root);
