// Directories: a path record of object type directory as the handle of an open listing.
//
// A listing is a snapshot, read when the directory is opened and kept by the location type behind
// the record's location handle; it holds no descriptor. It may belong to the directory cache and be
// on loan to the record. Directory work runs on one thread at a time. pfa_close closes it.
//
// PFA_E_NOT_VALID answers a null, freed or overwritten record and one that is no directory.
#pragma once

#include "coretools/ctpfa/pfa_entry_kind.h"
#include "coretools/ctpfa/vek_file.h"

// Opens the directory, whose path becomes absolute, at its first entry.
//   PFA_E_CANT_OPEN     it is open already or lies on another host
//   PFA_E_INVALID_NAME  its location cannot be written as text
//   PFA_E_ERROR         the location kept no listing
//   otherwise           what pfa_make_absolute_path or the location's "PfaDirOpen" answers
pfa_status pfa_open_dir(vek_file *directory);

// The same for those entries only that match the subset text, where the location can list a part
// of a directory; elsewhere the whole is listed. The text must outlive the reads.
pfa_status pfa_open_dir_subset(vek_file *directory, const char *subset);

// Makes entry the next entry of the open directory: its name split into parts, below the
// directory's location, of a type not yet known.
//   PFA_E_QUIT           no entry is left; also at every further call
//   PFA_E_NOT_ALLOWED    a stream or directory is open on the entry record (nothing was read)
//   PFA_E_INACTIVE       the directory is closed
//   PFA_E_INVALID_INPUT  there is no listing, or the name cannot be split
//   PFA_E_INVALID_NAME   directory and name together do not fit in a record: the entry is passed
//                        over, and its record holds the name alone
//   -1                   the location offers no "PfaDirReadNext"
//   otherwise            what the location answers
pfa_status pfa_read_dir(vek_file *directory, vek_file *entry);
// The same, and stores the kind of the entry (see pfa_entry_kind) whenever one was read, also with
// PFA_E_INVALID_NAME.
pfa_status pfa_read_dir_and_kind(vek_file *directory, vek_file *entry, int *kind);
