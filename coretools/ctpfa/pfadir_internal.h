// The directory half of pfa_close.
#pragma once

#include "coretools/ctpfa/vek_file.h"

// Closes a valid, open directory record; a borrowed listing goes back to the cache.
// PFA_E_NO_ACCESS for a record of the cache whose listing is on loan: it stays open.
pfa_status pfa_close_dir(vek_file *directory);
