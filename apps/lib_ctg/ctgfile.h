// The sorted list and the catalog file.
//
//   offset 0    4    32           36                                 260
//   header      | name       32 | member count         28 | 260    4 | LF      first and last line
//   member      | type  4 | name          32 | path              224 | LF      one a catalogued
//   file
//
// Fields are padded on the right with blanks; a longer value is written whole and pushes the rest
// of its line to the right.
#pragma once

#include "apps/lib_ctg/ctgcore.h"

// Fills sorted_list with copies of the members and sorts it. CTG_DONE or CTG_OUT_OF_MEMORY.
[[nodiscard]] ctg_result sort_catalog();

// Orders two sort entries by type, then name, then path, both byte by byte.
int comp_func(const void *first, const void *second);

// The catalog's name: the last element of target_dir, at most 31 characters, with '_' for '.'. A
// static text, valid until the next call; null when there is no memory.
[[nodiscard]] const char *form_catalog_file();

// The number of members whose type is 1 or more.
int count_members();

// Writes the catalog into target_dir. CTG_FAILED, after the message, when it could not be opened;
// CTG_OUT_OF_MEMORY before anything was opened. Failing writes are not detected.
[[nodiscard]] ctg_result write_list(const char *name);

// The message about a catalog that cannot be opened.
void report_catalog_not_written();
