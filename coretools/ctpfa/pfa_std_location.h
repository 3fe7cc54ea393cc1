// What the file access layer needs from the standard filesystem, which is built on top of it.
#pragma once

#include "coretools/ctpfa/pfaloc_tables.h"
#include "coretools/ctpfa/vek_file.h"

// The location type of a new record, and of one without a location type that is opened or gets a
// path: without a type there is no method to ask, and this is the one type that is always there.
constexpr pfa_location_type PFA_DEFAULT_LOCATION = PfaStdFilesystem;

// Registers the location types of the system. Called once, by the first allocation of a record.
void pfa_register_std_filesystem();

// True if the record's path is relative to the current directory of a drive.
int pfafs_loc_is_NT_drive_relative(const vek_file *record);
