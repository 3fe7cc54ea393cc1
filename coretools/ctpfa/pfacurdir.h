// The current and the home directory as path records.
#pragma once

#include "coretools/ctpfa/vek_file.h"

vek_file *pfa_get_cur_dir();
vek_file *get_Cur_Dir();
void load_pfa_cur_dir(vek_file *directory);
int pfa_get_home_dir(vek_file *out);
