// Allocation, release and status names of path records.
//
// The caller owns a record from its allocation to its release; both take the address of the
// caller's pointer. The pool of records, the registration of the location types and the debugging
// registry are process-wide and unlocked: the first allocation must be complete before a second
// thread uses the layer.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// Stores a new record in *out: no text, type OBJ_TYPE_NOT_YET, of the standard filesystem. The
// first call in the process registers the location types. Fails with
//   PFA_E_NOT_VALID  `out` is null
//   PFA_E_NO_SPACE   memory is exhausted; *out is unchanged
pfa_status pfa_alloc_vek_file(vek_file **out);

// Releases *record and sets it to null. Fails, with the record as it was, with
//   PFA_E_NOT_VALID      it is null or not valid
//   PFA_E_NOT_ALLOWED    it is open (reported)
//   PFA_E_INVALID_INPUT  it is that of the current directory (reported)
pfa_status pfa_free_vek_file(vek_file **record);

// Gives *record the values of a new record, whatever it held (an open stream is lost, not closed),
// or allocates it if it is null. Results as those of pfa_alloc_vek_file.
pfa_status pfa_recycle_vek_file(vek_file **record);

// Gives a record, which may be any memory of that size, the values of a new one.
void pfa_init_vek_file(vek_file *record);

// Returns the name of a status code, "PFA_UNKNOWN_ERROR" for any other value. A constant.
const char *pfa_error_to_string(int code);

// The debugging registry of records, off at first; switching it off forgets its entries. While it
// is on, allocation and release call pfa_mem_debug in run mode 9998.
void pfa_set_mem_debug(int on);

// Notes the allocation (allocating not 0) or the release of a record and reports, through
// dbg_err_crash, a second allocation, a second release and the release of a record never noted.
// With a null record it prints on standard output: the live records, one per line, if `allocating`
// is not 0, else the number of live records and of entries. Fails with PFA_E_OUT_OF_MEMORY if there
// is no memory to note the record; does nothing while the registry is off.
int pfa_mem_debug(vek_file *record, int allocating);
