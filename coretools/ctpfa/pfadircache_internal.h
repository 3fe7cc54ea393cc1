// What the layer itself asks of the directory cache.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// Looks a directory up under its key.
//   donor       where to store the record to borrow from, from then on marked as lent; null if its
//               listing is on loan already. May be null: then nothing is lent
//   index       where to store the entry's index, -1 for none; may be null
//   returning   true (1) if a borrower gives its listing back: nothing is dropped
//   asked       the record to be opened; may be null. Its location says in "PfaDirCacheEligible"
//               whether it may use the cache
//   discarding  true (1) to drop the entry
// True if the listing counts as cached, with a donor or without.
int pfa_dir_from_cache(const char *key, vek_file **donor, int *index, int returning,
                       vek_file *asked, int discarding);

// Offers the listing just opened on `directory` with the result of that open. If it is cached, the
// cache owns it and `directory` has borrowed it.
void pfa_add_dir_to_cache(const char *key, vek_file *directory, int open_result);

// Gives a borrowed listing back to the entry that owns it. The path of the borrower may have
// changed since, so the owner is known by the listing, not by the key alone.
void pfa_return_dir_to_cache(const char *key, vek_file *directory);

// Drops the listing of the directory of this key.
void pfa_full_dir_name_update_cache(const char *name);
