// The messages of a build, all on standard output. Texts and their line ends are fixed: scripts
// read them.
#pragma once

#include "apps/lib_ctg/ctglists.h"

void report_root_not_set();
void report_root_too_long();
void report_root_empty();
void report_root_not_opened();
void report_catalog_not_written();

// A directory, or an entry that could not be looked at. The path of a scanned directory ends in
// '/'.
void report_no_access(const char *path);
void report_directory_loop(const char *path);
void report_unreadable_entry(const char *directory);
// The path is directory, which ends in '/' or is empty, followed by name.
void report_path_too_long(const char *directory, const char *name);

// CTG_OUT_OF_MEMORY and CTG_TOO_MANY have a message each; nothing for the other results.
void report_shortage(ctg_result result);

// Two entries of one name and type. The extension is that of the type, in lower case.
void report_duplicate(const sort_entry &first, const sort_entry &second, const char *extension);
