// Versions of a file.
#pragma once

#include "coretools/ctpfa/vek_file.h"

enum pfa_version_selector : int {
    PFA_OWN_VERSION = 0,    // that of the record
    PFA_LATEST_VERSION = 1, // the highest in the record's directory; 0 is a file without version
    PFA_NEXT_VERSION = 2,   // the version to create: 1 if there is no such file, 2 if the only one
                            // has no version, else the highest and 1, which may exceed 16 bits
};

// Stores a version of the record's file. Names are matched exactly; in either case for the types
// OBJ_TYPE_NO_MEMBER, IGS, SET, VDA and DXF and in a location that ignores case. The search does
// not count negative versions: a file that has no other counts as none. *version is unchanged on
// failure. Results:
//   PFA_E_NO_ERROR
//   PFA_E_NOT_VALID      the record is null or not valid
//   PFA_E_INVALID_INPUT  the selector is none, `version` is null, or the directory has no room for
//                        the extension of directories
//   PFA_E_NOT_FOUND      the latest version of a file that does not exist
//   PFA_E_NO_ACCESS      the directory cannot be opened
//   PFA_E_OUT_OF_MEMORY
//   otherwise            the name cannot be written, or the directory cannot be read
pfa_status pfa_get_file_vers(const vek_file *record, int selector, int *version);
