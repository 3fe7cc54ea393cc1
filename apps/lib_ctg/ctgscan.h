// The walk of the library tree.
#pragma once

#include "apps/lib_ctg/ctgcore.h"

// Appends a member to src_list for every file of a known object type at and below dir_path: the
// root as target_dir has it, of whose paths the first root_prefix_length characters are no part of
// a member's path.
//
// CTG_DONE when the directory was read to its end; CTG_FAILED, after the message, when it could not
// be opened; CTG_OUT_OF_MEMORY or CTG_TOO_MANY when the build has to end.
[[nodiscard]] ctg_result scan_dir(const char *dir_path, int root_prefix_length);

// The message about a root that cannot be opened.
void report_root_not_opened();
