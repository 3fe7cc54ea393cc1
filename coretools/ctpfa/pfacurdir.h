// The current and the home directory as path records, kept until the process ends.
//
// Not locked: the first call must come before a second thread uses the layer.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// Returns the record of the current directory, made at the first call from the working directory
// that the process then has; later changes of that directory are not seen. Null if memory is
// exhausted. The layer owns the record: pfa_free_vek_file refuses it.
vek_file *pfa_get_cur_dir();

// Returns the same record, null if it was not made yet.
vek_file *get_Cur_Dir();

// Makes an absolute directory the current directory. With null, or a record that is not absolute,
// the working directory of the process is read again. If that is unknown, has PFA_PATH_SIZE
// characters or more with its '/', or has a name that reads as another, the current directory has
// no location.
void load_pfa_cur_dir(const vek_file *directory);

// Copies the home directory, from the environment variable HOME as it is at the first success, into
// `out`. Fails with
//   PFA_E_ERROR          HOME is not set or names no directory
//   PFA_E_NOT_VALID      `out` is null or not valid
//   PFA_E_OUT_OF_MEMORY
pfa_status pfa_get_home_dir(vek_file *out);
