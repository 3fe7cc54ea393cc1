// The stdio location: the process's standard streams by name.
//
// "stdio://in", "stdio://out" and "stdio://err" parse to records of location type PfaStdio, whose
// device component holds "stdio://" and whose name is the stream's. Opening one lends the standard
// stream to the record; closing the record leaves the stream open.
#pragma once

#include "coretools/ctpfa/vek_file.h"

#include <cstdio>

// Registers the location type. The standard filesystem, from which it inherits reading and writing,
// must be registered already.
void pfa_stdio_register();

// Stores the standard stream that the record names in *stream. Fails with PFA_E_NOT_VALID, *stream
// unchanged, if the record is not valid or names none.
pfa_status pfa_stdio_get_stream(const vek_file *record, std::FILE **stream);
