// Versions of a file.
#pragma once

#include "coretools/ctpfa/vek_file.h"

int pfa_get_file_vers(vek_file *record, int selector, int *version);
