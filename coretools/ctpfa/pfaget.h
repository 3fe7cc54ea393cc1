// Reading a path record.
//
// The functions with an `out` fail with PFA_E_NOT_VALID if the record or `out` is null or the
// record is not valid; `out` is empty on failure.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// Writes the host; empty for a location type without hosts. Fails with PFA_E_ERROR if it has
// PFA_HOST_SIZE characters or more.
pfa_status pfa_get_host(const vek_file *record, char out[PFA_HOST_SIZE]);

// Writes the directory path in its written form (see path_text.h): empty, or ending in '/'. Fails
// with PFA_E_ERROR if it does not fit.
pfa_status pfa_get_path(const vek_file *record, char out[PFA_PATH_SIZE]);

// Writes the name; of a directory the last element of its path, or if that is empty of its device
// or host.
pfa_status pfa_get_name(const vek_file *record, char out[PFA_PATH_SIZE]);

int pfa_get_obj_type(const vek_file *record);       // OBJ_TYPE_DEFAULT if it is not valid
int pfa_get_encode(const vek_file *record);         // 0 if it is not valid
int pfa_get_location_datum(const vek_file *record); // -1 if it is not valid
int pfa_file_is_open(const vek_file *record);       // 1 or 0
int pfa_is_dir(const vek_file *record);             // 1 or 0

// Both write the location as text, in the host's form or in the neutral form that every location
// type can parse, and store the location type, NoLocation if the record is not valid. `out` and
// `location_type` may be null. Returns the result of the location type's "PfaGetLocationString" or
// "PfaGetNeutralLocation"; PFA_E_NO_ERROR without `out`.
pfa_status pfa_get_location(const vek_file *record, char out[PFA_PATH_SIZE], int *location_type);
pfa_status pfa_get_neutral_location(const vek_file *record, char out[PFA_PATH_SIZE],
                                    int *location_type);
