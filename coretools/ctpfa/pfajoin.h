// Absolute and relative names.
//
// Unless said otherwise the functions fail with
//   PFA_E_NOT_VALID     a record is null or not valid
//   PFA_E_INVALID_NAME  the location would have PFA_PATH_SIZE characters or more
//   PFA_E_ROOT_DIR      "../" would climb above the root
//   otherwise           the result of pfa_get_neutral_location or pfa_put_location
// and then leave the output unchanged. The output may be one of the inputs.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// True if the record names a host, a device or an absolute path, or is of a location type without
// paths. False if it is not valid.
int pfa_path_is_absolute(const vek_file *record);

// Makes `out` the record `relative` as seen from the directory `base`. An absolute record stays as
// it is, and so does any if `base` holds no text. Fails with PFA_E_NOT_VALID also if `base` is no
// directory.
pfa_status pfa_concat_locations(const vek_file *base, const vek_file *relative, vek_file *out);

// Puts the location of `base` before that of `record`. Fails with PFA_E_INVALID_NAME also if `base`
// has no location, and with PFA_E_ROOT_DIR if `record` is absolute.
pfa_status concat_pfa_paths(const vek_file *base, vek_file *record);

// Appends `text`, a neutral location, to the location of `directory` and stores the result in
// `out`, whose name stays. "../" elements of a text that starts with one take elements of the
// directory back. Fails with PFA_E_INVALID_INPUT if `text` is null, `directory` is no directory, or
// the text is too long for a directory without a path.
pfa_status pfa_location_append(const vek_file *directory, vek_file *out, const char *text);
