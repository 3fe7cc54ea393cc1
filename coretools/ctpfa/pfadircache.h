// The directory cache: listings that stay open between uses.
//
// An entry of the cache is found under the location text of its directory (pfa_get_location) and
// owns a record with the open listing. Opening the directory again borrows the listing and restarts
// it; closing the borrower (PFA_F_BORROWED) gives it back to the entry's record (PFA_F_LENT).
//
// A listing is used again only while it is fresh. It is dropped
//   - when the layer changes the directory, through the notices below,
//   - at the next open of the directory, if method "PfaDirCacheInvalid" of its location says so
//     (the standard filesystem compares the directory's modification time with that of the listing,
//     trusts no listing read in the second of the last change, and none that the user may no longer
//     read), while a memory loop runs, or if the listing is of another location type,
//   - when 256 or more directories are cached and another one needs its place: the one unused for
//     longest that is not on loan and was not used within this second. If there is none, the table
//     grows: 256 is no hard limit.
// A listing that is on loan is only marked as stale, and dropped at its next look-up.
//
// The cache never fails: if memory runs out, the allocator reports it and the listing is not
// cached. It is process-wide, unlocked and lives until the process ends; directory work runs on one
// thread. Methods of location types and release functions of application data may call back into
// the layer.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// True if the environment variable ___DIR_CACHE_DEBUG is set to a text that does not begin with 'f'
// or 'F'. It is read once. Traces go to the standard output.
int pfa_dir_cache_debug();

// Notices: a directory has changed and its listing is out of date. They return 0, keep errno, never
// jump to a trap frame, expand nothing in names and do not ask the file system.

// A file or directory of this full name was created, renamed or removed.
int pfa_file_name_update_dir_cache(const char *file_name);
// The same for a record. The directory that has changed is the parent of a directory record.
int pfa_dir_cache_update(vek_file *record);
// The directory of this name has changed. Null, "" and ".\" name the current directory. An
// absolute name ends in '/', as location texts do.
int pfa_dir_name_update_cache(const char *directory_name);

// Forced caching: a listing is used again without asking its location, also to find the next
// version of a file. PFA_E_NOT_CACHABLE of "PfaDirOpen" is overruled, unless "PfaIsVirtualFolder"
// returns 0.

// For all directories (1) or not (0, the default).
void pfa_set_autocache(int on);
int pfa_get_autocache();
// For the directory of this key, at most 259 characters.
//   PFA_E_INVALID_INPUT  the key is null or longer
//   PFA_E_OUT_OF_MEMORY
pfa_status pfa_add_forced_cache_dir(const char *key);
void pfa_clear_forced_cache_dirs();

// Application data: what a program keeps with a cached listing, released with it. An index is valid
// while its entry lives; it comes from the look-up, which is the layer's own.
constexpr int DIR_CACHE_APPDATA_TYPES = 16;
using dir_cache_free_func = void (*)(void *data);

// Sets the release function for data of a type below DIR_CACHE_APPDATA_TYPES; null for none.
// PFA_E_INVALID_INPUT for any other type.
pfa_status pfa_register_dir_appdata(int type, dir_cache_free_func function);
// Attaches data to an entry and releases what it had of that type. On success the cache owns the
// data.
//   PFA_E_INVALID_INPUT  no such type
//   PFA_E_NOT_FOUND      no such entry
//   PFA_E_OUT_OF_MEMORY
pfa_status pfa_attach_dir_appdata(int index, int type, void *data);
// Returns the entry's data of a type, or null.
void *pfa_get_dir_appdata(int index, int type);

// The look-up is the layer's own and not part of an installation.
#if __has_include("coretools/ctpfa/pfadircache_internal.h")
#include "coretools/ctpfa/pfadircache_internal.h"
#endif
