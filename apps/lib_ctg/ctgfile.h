// The sorted list and the catalog file.
//
//   offset 0    4    32           36                                 260
//   header      | name       32 | member count         28 | 260    4 | LF   first and last line
//   member      | type  4 | name          32 | path              224 | LF   one for each member
//
// Fields are padded on the right with blanks; a longer value is written whole and pushes the rest
// of its line to the right.
#pragma once

#include "apps/lib_ctg/ctglists.h"

// Fills sorted_list with copies of the members and sorts it by comp_func. CTG_DONE or
// CTG_OUT_OF_MEMORY.
ctg_result sort_catalog();

// Orders two sort entries by type, then name, then path, both byte by byte.
int comp_func(const void *first, const void *second);

// Returns the catalog's name: the last element of target_dir, at most 31 characters, with '_' for
// '.'. A static text, valid until the next call; null if there is no memory.
[[nodiscard]] const char *form_catalog_file();

// Writes the catalog into target_dir. Failing writes are not detected. Results:
//   CTG_FAILED         it could not be opened, after the message
//   CTG_OUT_OF_MEMORY  nothing was opened: an existing catalog stays
ctg_result write_list(const char *name);
