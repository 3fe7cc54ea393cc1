// The directory cache: listings that stay open between uses.
//
// Each entry of the cache is found under the location text of its directory (pfa_get_location) and
// holds a record of its own with the open listing. Opening the directory again borrows the listing
// (the borrower carries PFA_F_BORROWED, the entry's record PFA_F_LENT) and restarts it; closing the
// borrower gives it back. A listing is used again only while the location says that it is fresh.
//
// The cache never fails: without memory or room a listing is not cached, and that is all. It is
// process-wide, unlocked and lives until the process ends; directory work runs on one thread.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// 1 when ___DIR_CACHE_DEBUG is set to a text that does not begin with 'f' or 'F', else 0. The
// variable is read once. Traces go to the standard output.
int pfa_dir_cache_debug();

// Notices: the listing of a directory is out of date and is dropped, at once or, while it is on
// loan, at its next look-up. They answer 0, keep errno, expand nothing and ask no file system (but
// for the working directory, once).

// A file or directory of this full name was created, renamed or removed.
int pfa_file_name_update_dir_cache(const char *file_name);
// The same for a record; what concerns a directory record is its parent.
int pfa_dir_cache_update(vek_file *record);
// The directory of this name has changed; null, "" and ".\" stand for the current directory. An
// absolute name ends in '/', as location texts do.
int pfa_dir_name_update_cache(const char *directory_name);

// What pfa_open_dir and pfa_close ask of the cache.

// Looks a directory up under its key. 1 means that the listing counts as cached, with a donor
// record to borrow from or, while it is out on loan already, without; 0 that it does not.
//   donor      where to store the donor, from then on marked as lent, or null; may be null
//   index      where to store the entry's index (see below), or -1; may be null
//   returning  1 when a borrower gives its listing back: nothing is dropped
//   asked      the record to be opened, whose location says whether it may use the cache; may be
//              null
//   discard    1 to drop the entry
int pfa_dir_from_cache(const char *key, vek_file **donor, int *index, int returning,
                       vek_file *asked, int discard);
// Offers the listing just opened on directory, with the status of that open. When it is cached, the
// cache owns it and directory has borrowed it.
void pfa_add_dir_to_cache(const char *key, vek_file *directory, int open_result);
// The cache's record that holds this listing, or null.
vek_file *pfa_dir_cache_owner(const void *listing);

// Forced caching: listings are used again without a question to their location, even those of
// virtual folders that it calls not cachable.

// For all directories (1), or as they are (0, at first).
void pfa_set_autocache(int on);
int pfa_get_autocache();
// For the directory of this key (at most 259 characters). PFA_E_INVALID_INPUT for a null or longer
// key, PFA_E_OUT_OF_MEMORY when it cannot be kept.
pfa_status pfa_add_forced_cache_dir(const char *key);
void pfa_clear_forced_cache_dirs();

// Application data: what a caller keeps with a cached listing, released with it.
//
// An index is good while its entry lives: use it right after the look-up that gave it.
constexpr int DIR_CACHE_APPDATA_TYPES = 16;
using dir_cache_free_func = void (*)(void *data);

// Sets the release function of data of a type, 0 to DIR_CACHE_APPDATA_TYPES - 1; null releases
// nothing. PFA_E_INVALID_INPUT for any other type.
pfa_status pfa_register_dir_appdata(int type, dir_cache_free_func function);
// Attaches data to an entry, in place of what it had of that type, which is released. The cache
// owns the data when the answer is PFA_E_NO_ERROR.
//   PFA_E_INVALID_INPUT   no such type
//   PFA_E_NOT_FOUND       no such entry
//   PFA_E_OUT_OF_MEMORY   the data cannot be kept
pfa_status pfa_attach_dir_appdata(int index, int type, void *data);
// The entry's data of a type, or null.
void *pfa_get_dir_appdata(int index, int type);
