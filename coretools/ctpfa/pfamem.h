// Allocation, release and status names of path records.
//
// The caller owns a record from its allocation to its release; both take the address of the
// caller's pointer. The pool of records, the registration of the location types and the debugging
// registry are process-wide and unlocked: the first allocation must be complete before a second
// thread uses the layer.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// A new record in *out: no text, type -4, location type 1. The first call in the process registers
// the location types. 0; 11 for a null out; 6 without memory, *out unchanged.
pfa_status pfa_alloc_vek_file(vek_file **out);

// Releases *record and sets it to null: 0. Refused, with the record as it was: 11 for a null or
// invalid record, 8 for an open one (reported), 9 for the current directory's (reported).
pfa_status pfa_free_vek_file(vek_file **record);

// Gives *record the values of a new record, whatever it held (an open stream is lost, not closed),
// or allocates it when it is null. 0; 11 for a null address; 6 without memory.
pfa_status pfa_recycle_vek_file(vek_file **record);

// Gives a record, which may be any memory of that size, the values of a new one.
void pfa_init_vek_file(vek_file *record);

// The name of a status code, "PFA_UNKNOWN_ERROR" for any other value. A constant.
const char *pfa_error_to_string(int code);

// The debugging registry of records, off at first; switching it off forgets its entries. While it
// is on, allocation and release call pfa_mem_debug in run mode 9998.
void pfa_set_mem_debug(int on);

// Notes the allocation (allocating not 0) or the release of a record and reports, through
// dbg_err_crash, a second allocation, a second release and the release of a record never noted.
// With a null record it prints on standard output: the live records, one a line, when allocating is
// not 0, else the number of live records and of entries. 0, also while the registry is off; 16 when
// there is no memory to note the record.
int pfa_mem_debug(vek_file *record, int allocating);

// An address as the traces print it, through "%x".
inline unsigned pfa_trace_address(const void *address) {
    return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(address));
}
