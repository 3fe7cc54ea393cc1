// Reading a path record.
//
// The calls that write text answer 11 for a null out or an invalid record, and leave out empty
// unless they answer 0.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// The host in out[32]: 0, also for a location type without hosts; 1 for a host of 32 characters or
// more; 11.
pfa_status pfa_get_host(const vek_file *record, char *out);

// The directory path as it is displayed, in out[260]: empty, or ending in '/'. A segment that is
// '^' is a parent step: it is taken back together with the segment before it, or written as ".."
// where there is none to take back. Empty segments are passed over. 0; 1 when it does not fit; 11.
pfa_status pfa_get_path(const vek_file *record, char *out);

// The name in out[260]; of a directory the last element of its path, or failing that of its device
// or host. 0, 11.
pfa_status pfa_get_name(const vek_file *record, char *out);

int pfa_get_obj_type(const vek_file *record);       // -1 for an invalid record
int pfa_get_encode(const vek_file *record);         // 0 for an invalid record
int pfa_get_location_datum(const vek_file *record); // -1 for an invalid record
int pfa_file_is_open(const vek_file *record);       // 1 or 0
int pfa_is_dir(const vek_file *record);             // 1 or 0

// The location as text in out[260] (may be null), in the host's form or in the neutral form that
// every location type can parse, and the location type (may be null; 0 for an invalid record). The
// location type's answer, -1 when it writes no such text; 0 without out.
pfa_status pfa_get_location(const vek_file *record, char *out, int *location_type);
pfa_status pfa_get_neutral_location(const vek_file *record, char *out, int *location_type);
