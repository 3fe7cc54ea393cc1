// Directories: opening, reading and closing them as path records.
#pragma once

#include "coretools/ctpfa/vek_file.h"

int pfa_open_dir(vek_file *directory);
int pfa_open_dir_subset(vek_file *directory, const char *subset);
int pfa_read_dir(vek_file *directory, vek_file *entry);
// The directory half of pfa_close, which has checked the record; may answer 7 and leave it open.
int pfa_close_dir(vek_file *directory);
