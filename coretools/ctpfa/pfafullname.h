// Names: a path record into text.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// Writes the full name: location, name, '.' and extension unless it is empty, '.' and version
// unless it is 0. A directory without a location is "./". Name and extension are lower-cased if
// `lower` is not 0, in the first function if pfa_no_mixed_case says so. `out` is empty on failure.
// Results:
//   PFA_E_NO_ERROR
//   PFA_E_NOT_VALID  `out` is null, or the record is null or not valid
//   PFA_E_ERROR      the name has PFA_PATH_SIZE characters or more
//   otherwise        the result of the location type's "PfaGetLocationString"
pfa_status pfa_get_full_name(const vek_file *record, char out[PFA_PATH_SIZE]);
pfa_status pfa_get_full_name_mixed_case(const vek_file *record, char out[PFA_PATH_SIZE], int lower);

// Writes the parts of the full name that `include` (see pfa_include) asks for. Without the name,
// that is the record's directory. Without the path, a record that has no name is written as
// pfa_get_name does. Results as above, and
//   PFA_E_INVALID_INPUT  only some of host, device and path are asked for of a record that is not
//                        of the standard filesystem
pfa_status pfa_get_file_name(const vek_file *record, int include, char out[PFA_PATH_SIZE]);
pfa_status pfa_get_file_name_mixed_case(const vek_file *record, int include,
                                        char out[PFA_PATH_SIZE], int lower);

// True if full names of the record are written in lower case, as its type has it; also for null.
int pfa_no_mixed_case(const vek_file *record);

// True if the full name of the record, without its host and with its case kept, is exactly `name`;
// that of a directory ends in '/'. A name that a file or directory really has can read as another
// one ("a\b", "^", "x::y"): parse it and ask this to see that it reads back as itself.
bool pfa_is_named(const vek_file *record, const char *name);
