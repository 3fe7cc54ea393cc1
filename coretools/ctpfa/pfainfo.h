// Predicates of a path record.
#pragma once

#include "coretools/ctpfa/vek_file.h"

int pfa_is_valid(const vek_file *record);
int pfa_is_local(vek_file *record);
int pfa_set_mounted(vek_file *record);
