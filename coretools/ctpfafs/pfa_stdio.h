// The stdio location: the process's standard streams by name.
//
// "stdio://in", "stdio://out" and "stdio://err" parse to records of location type 8, whose
// component 1 holds "stdio://" and whose name is the stream's. Opening one lends the standard
// stream to the record; closing the record leaves the stream open.
#pragma once

#include "coretools/ctpfa/vek_file.h"

#include <cstdio>

// Registers the location type; the standard filesystem, whose reading and writing it inherits,
// must have been registered.
void pfa_stdio_register();

// Stores the standard stream that the record names: 0, or 11 when the record is not valid or names
// none (*stream is then left alone).
pfa_status pfa_stdio_get_stream(const vek_file *record, std::FILE **stream);
