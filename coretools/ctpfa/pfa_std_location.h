// What this floor asks of the standard filesystem location above it: the one place where the file
// access layer knows of a location type, because somebody has to start the registration.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// Registers the location types of the system; called once, by the first allocation of a record.
void pfa_register_std_filesystem();

// 1 when the record holds a path that is relative to the current directory of a drive, else 0.
int pfafs_loc_is_NT_drive_relative(const vek_file *record);
