// Path records made from others: absolute, directory of, subdirectory, parent, copy.
//
// The functions fail with PFA_E_NOT_VALID if a record is null or not valid, and then change
// nothing. What is open on an output record is lost: close it first. Nothing here asks the file
// system, but for the working directory when a relative path is first made absolute.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// Puts the current directory in front of a relative path. Fails with
//   PFA_E_OUT_OF_MEMORY  there is no memory for the current directory
//   otherwise            the result of concat_pfa_paths
pfa_status pfa_make_absolute_path(vek_file *record);

// Returns a new record of the directory that the record lies in; of a directory, a copy. Caller
// releases it with pfa_free_vek_file. Null if the record is not valid or cannot become a directory,
// and if memory is exhausted.
[[nodiscard]] vek_file *extract_pfa_dir(const vek_file *record);

// Copies every field but what is open: the copy is closed and holds no listing or stream.
pfa_status pfa_copy_vek_file(const vek_file *source, vek_file *destination);

// Makes `out` the directory with `name` appended to its path; `out` may be the directory itself.
// Fails with
//   PFA_E_NOT_VALID      also if the directory is none
//   PFA_E_INVALID_INPUT  `name` is null
//   otherwise            the result of pfa_location_append
pfa_status pfa_make_subdir(const vek_file *directory, const char *name, vek_file *out);

// Makes `parent` the absolute directory that holds the record; for a file that is its directory,
// with an empty extension. `parent` may be the record itself. Fails with
//   PFA_E_ROOT_DIR  the record is the top of its location
//   otherwise       the result of pfa_make_absolute_path
pfa_status pfa_make_parent(vek_file *record, vek_file *parent);
