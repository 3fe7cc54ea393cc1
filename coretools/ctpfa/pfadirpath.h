// Path records made from others: absolute, directory of, subdirectory, parent, copy.
//
// A null, freed or overwritten record answers PFA_E_NOT_VALID; a failure changes no record, and
// what is open on an output record is lost: close it first. Nothing here asks the file system,
// but for the working directory when a relative path is first made absolute.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// Puts the current directory in front of a relative path. PFA_E_OUT_OF_MEMORY when there is no
// current directory, else what concat_pfa_paths answers.
pfa_status pfa_make_absolute_path(vek_file *record);

// A new record of the directory that the record lies in; of a directory, a copy. The caller
// releases it with pfa_free_vek_file. Null for an invalid record, without memory, or when the
// record cannot become a directory.
[[nodiscard]] vek_file *extract_pfa_dir(vek_file *record);

// Copies every field but what is open: the copy is closed and holds no listing or stream.
pfa_status pfa_copy_vek_file(const vek_file *source, vek_file *destination);

// Makes out (which may be the directory itself) the directory with name appended to its path.
// PFA_E_INVALID_INPUT for a null name, else what pfa_location_append answers.
pfa_status pfa_make_subdir(vek_file *directory, const char *name, vek_file *out);

// Makes parent (which may be the record itself) the absolute directory that holds the record; for a
// file that is its directory, with an empty extension.
// PFA_E_ROOT_DIR when the record is the top of its location, else what pfa_make_absolute_path
// answers.
pfa_status pfa_make_parent(vek_file *record, vek_file *parent);
