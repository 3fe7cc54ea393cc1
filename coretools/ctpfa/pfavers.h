// Versions of a file.
#pragma once

#include "coretools/ctpfa/vek_file.h"

enum pfa_version_selector : int {
    PFA_OWN_VERSION = 0,
    PFA_LATEST_VERSION = 1,
    PFA_NEXT_VERSION = 2,
};

// Stores a version of the record's file in *version:
//   selector 0  the record's own version
//   selector 1  the highest version in the record's directory, 0 for a file without version
//   selector 2  the version to create next: 1 when there is no such file, 2 when there is only one
//               without version, else the highest and one (which may exceed the 16 bits of a
//               record)
// Names are matched exactly, or in either case for types -6 and 134 to 137 and in a location that
// ignores case.
// 0; 2 when selector 1 finds no file; 7 when the directory can't be opened; 9 for another selector
// or a null version; 11 for an invalid record; 16 without memory for the directory; or the code
// with which the name could not be written or the directory not be read. *version is stored only
// on success.
pfa_status pfa_get_file_vers(vek_file *record, int selector, int *version);
