// The walk of the library tree.
#pragma once

#include "apps/lib_ctg/ctglists.h"

// Appends a member to src_list for every file of a known object type at and below `dir_path`: the
// root as target_dir has it, or a directory below it with a final '/'. The first
// `root_prefix_length` characters of a directory's path are no part of a member's path.
//
// Results:
//   CTG_DONE           the directory was read to its end
//   CTG_FAILED         it could not be opened, after the message
//   CTG_OUT_OF_MEMORY  the build has to end
//   CTG_TOO_MANY       the same: there are more than MEMBER_LIMIT members
ctg_result scan_dir(const char *dir_path, int root_prefix_length);
