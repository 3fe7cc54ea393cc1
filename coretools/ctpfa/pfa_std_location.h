// What this floor asks of the standard filesystem location above it.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// Registers the location types of the system; called once, by the first record allocation.
void pfa_register_std_filesystem();
// 1 when the record holds a drive-relative name, else 0.
int pfafs_loc_is_NT_drive_relative(const vek_file *record);
