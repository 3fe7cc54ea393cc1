// Streams: a path record as an open file.
#pragma once

#include "coretools/ctpfa/vek_file.h"

const char *binary_mode(const char *mode);
int pfa_fopen(vek_file *record, int selector, const char *mode);
int pfa_close(vek_file *record);
int pfa_write_file(vek_file *record, int count, const char *bytes);
int pfa_fprintf(vek_file *record, const char *format, ...);
