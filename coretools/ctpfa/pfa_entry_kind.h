// The kind of a directory entry, symbolic links followed. A kind is one of these two, or the
// negative errno of a failed look at the entry: then nobody can tell.
#pragma once

enum pfa_entry_kind : int {
    PFA_NO_DIRECTORY = 0,
    PFA_DIRECTORY = 1,
};
