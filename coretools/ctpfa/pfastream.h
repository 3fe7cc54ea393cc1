// Streams: a path record as the handle of an open file.
//
// Every call goes to the methods of the record's location type, so one program serves every kind of
// store. A record has at most one stream, and one thread uses it at a time.
//
// Writing has the calls below. Reading and positioning have none: call the methods through the
// wrappers of pfaloc_call.h. "PfaReadFile" reads blocks, "PfaFgets" lines and "PfaFgetc"
// characters; pfaloc_methods.def has their contracts. To read a file block by block:
//
//     char block[4096];
//     int count = 0;
//     pfa_status status = pfa_fopen(record, PFA_OWN_VERSION, binary_mode("r"));
//     while (status == PFA_E_NO_ERROR) {
//         status = pfa_status(
//             pfaloc_call_FLPPI(record, PfaReadFile, block, &count, int(sizeof block)));
//         if (status == PFA_E_NO_ERROR) {
//             use(block, count);
//         }
//     } // PFA_E_QUIT: the whole file has been read
//
// All operations fail with PFA_E_NOT_VALID for a record that is null, freed or overwritten, and,
// but for pfa_close(), for a directory record.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// Returns `mode` itself: text and binary streams are the same on this host. Wrap every mode in it,
// so that a port can add what its host needs.
const char *binary_mode(const char *mode);

// True if the mode begins with 'r' or 'R': a stream opened in it adds no file to its directory.
inline bool mode_reads(const char *mode) {
    return mode[0] == 'r' || mode[0] == 'R';
}

// Opens the record as a stream. `selector` is a pfa_version_selector; the version opened is stored
// in the record, also if the open then fails. `mode` is that of fopen(). A record without a
// location type becomes one of the standard filesystem. A mode that does not begin with 'r' drops
// the cached listing of the file's directory, if the location type gives the host's name of the
// file (else it drops the listing itself); "r+" adds no entry and keeps it.
//   PFA_E_CANT_OPEN      the record is open already or lies on another host; PFA_NEXT_VERSION in a
//                        mode without 'w'; or the version does not fit in 16 bits
//   PFA_E_INVALID_INPUT  a null mode or another selector
//   or the result of pfa_get_file_vers() or of "PfaFopen"
pfa_status pfa_fopen(vek_file *record, int selector, const char *mode);

// Closes the stream or the directory that is open on the record. Except after the first two results
// the record is closed, whatever the location's method returned.
//   PFA_E_INACTIVE   nothing is open
//   PFA_E_NO_ACCESS  a directory whose listing is on loan to another record
//   or the result of "PfaCloseFile"; for a directory PFA_E_NO_ERROR
pfa_status pfa_close(vek_file *record);

// Writes `count` bytes, converted as the record's encode word (pfa_encode) says. A count of 0
// writes nothing and asks only for a valid record.
//   PFA_E_INACTIVE       the record is closed
//   PFA_E_INVALID_INPUT  a negative count, null bytes, an unknown encode word, or a text that ends
//                        inside a character; what comes before that character has been written
//   or the result of "PfaWriteFile"
pfa_status pfa_write_file(vek_file *record, int count, const char *bytes);

// Formats a text of any length as vek_vsprintf() does and writes it as pfa_write_file() does.
//   PFA_E_INACTIVE  the record is closed
//   PFA_E_ERROR     the format gives no text, or memory runs out
//   or a result of pfa_write_file()
pfa_status pfa_fprintf(vek_file *record, const char *format, ...);
