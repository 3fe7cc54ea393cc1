// The current and the home directory as path records, kept for the life of the process.
//
// Both records and their first use are unguarded: the first call comes before a second thread.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// The current directory's record, made at the first call from the working directory the process
// has then; later changes of that directory are not seen. Null without memory. The layer owns the
// record: pfa_free_vek_file refuses it.
vek_file *pfa_get_cur_dir();

// The same record, null before it was made.
vek_file *get_Cur_Dir();

// Makes an absolute directory the current directory; with null, or a record that is not absolute,
// the working directory of the process is read again. Where that is unknown, takes 260
// characters or has a name that would be read as another, the current directory has no location.
void load_pfa_cur_dir(vek_file *directory);

// Copies the home directory, from the environment variable HOME as it is at the first success, into
// out. PFA_E_ERROR when HOME is not set or names no directory, PFA_E_NOT_VALID for an invalid out.
pfa_status pfa_get_home_dir(vek_file *out);
