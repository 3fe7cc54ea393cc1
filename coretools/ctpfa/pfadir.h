// Directories: a path record of object type directory as the handle of an open listing.
//
// A listing is a snapshot, read when the directory is opened. The location type owns it and keeps
// it in the record's location handle; it may be borrowed from the directory cache, whose header
// says when a cached listing is used again. pfa_close closes it. Directory work runs on one thread.
//
// All operations fail with PFA_E_NOT_VALID if a record is not valid or `directory` is not a
// directory, and pass on what a method of the location type returns.
#pragma once

#include "coretools/ctpfa/pfa_entry_kind.h"
#include "coretools/ctpfa/vek_file.h"

// Makes the directory's path absolute and opens it at its first entry.
//   PFA_E_CANT_OPEN     the directory is open already or on another host
//   PFA_E_INVALID_NAME  its location cannot be written as text
//   PFA_E_ERROR         the location type made no listing
// Also fails as pfa_make_absolute_path does. One directory may be open on several records at once:
// each has its own listing and position, and only one of the listings is in the cache (a second
// open while that one is on loan and fresh is reported, dbg_err_crash).
pfa_status pfa_open_dir(vek_file *directory);

// The same. If the location type can list a part of a directory, only the entries that match
// `subset` are listed, and the text must live until the directory is closed. Null lists all.
pfa_status pfa_open_dir_subset(vek_file *directory, const char *subset);

// Stores the next entry in `entry`: its name and the directory's location, of type
// OBJ_TYPE_NOT_YET.
//   PFA_E_QUIT           no entry is left; the same in every further call
//   PFA_E_NOT_ALLOWED    something is open on `entry`; no entry was read
//   PFA_E_INACTIVE       the directory is closed
//   PFA_E_INVALID_INPUT  there is no listing, or the name cannot be parsed
//   PFA_E_INVALID_NAME   directory and name together do not fit in a record; `entry` has the name
//                        alone, and the next call goes on with the next entry
//   PFA_E_NO_METHOD      the location type cannot list directories
pfa_status pfa_read_dir(vek_file *directory, vek_file *entry);
// The same, and stores the kind of the entry (see pfa_entry_kind) if one was read, also with
// PFA_E_INVALID_NAME.
pfa_status pfa_read_dir_and_kind(vek_file *directory, vek_file *entry, int *kind);
