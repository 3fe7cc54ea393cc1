// Allocation, release and status names of path records.
#pragma once

#include "coretools/ctpfa/vek_file.h"

int pfa_alloc_vek_file(vek_file **out);
int pfa_free_vek_file(vek_file **record);
int pfa_recycle_vek_file(vek_file **record);
int pfa_mem_debug(vek_file *record, int allocating);
const char *pfa_error_to_string(int code);

// Gives a record the values of a new one; takes no notice of what it held.
void pfa_init_vek_file(vek_file *record);
