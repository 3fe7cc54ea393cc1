// Streams: a path record as the handle of an open file.
//
// Every call goes to the methods of the record's location type, so that one program serves every
// kind of store. A record has one stream at most and one user at a time. Of these operations each
// answers PFA_E_NOT_VALID for a null, freed or overwritten record and, but for pfa_close, for a
// directory record; a failure changes nothing that is not named here.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// The mode itself: text and binary streams are the same on this host. Callers wrap every mode in
// it, so that a port can add what its host needs.
const char *binary_mode(const char *mode);

// Opens the record as a stream. The selector says which version: 0 the record's own, 1 the highest
// that exists, 2 the next new one (only with a 'w' in the mode); the version opened is stored in
// the record, also when the open then fails. A record without a location becomes one of the
// standard filesystem. Opening to write drops the cached listing of the file's directory.
//   PFA_E_CANT_OPEN      the record is open already, lies on another host, asks for a new version
//                        in a mode without 'w', or its version does not fit in 16 bits
//   PFA_E_INVALID_INPUT  no mode, or no such selector
//   otherwise            what the version search or the location's "PfaFopen" answers
pfa_status pfa_fopen(vek_file *record, int selector, const char *mode);

// Closes the stream or directory that is open on the record. PFA_E_INACTIVE when none is, and
// PFA_E_NO_ACCESS for a directory whose listing is out on loan, which stays open. In every other
// case the record counts as closed, whatever the location's method answered.
pfa_status pfa_close(vek_file *record);

// Writes count bytes, converted as the record's encode word says: 0 as they are; from EUC text
// 1 as wide codes, 2 as JIS codes, 3 as Shift-JIS codes. A count of 0 answers PFA_E_NO_ERROR
// without a look at the stream.
//   PFA_E_INACTIVE       the record is closed
//   PFA_E_INVALID_INPUT  a negative count, no bytes, an unknown encode word, or text that breaks
//                        off inside a character (what comes before it has been written)
//   otherwise            what the location's "PfaWriteFile" answers
pfa_status pfa_write_file(vek_file *record, int count, const char *bytes);

// Formats (the conversions of vek_vsprintf) and writes the text, however long, as pfa_write_file
// does; PFA_E_INACTIVE for a closed record, PFA_E_ERROR when the format yields no text.
pfa_status pfa_fprintf(vek_file *record, const char *format, ...);
