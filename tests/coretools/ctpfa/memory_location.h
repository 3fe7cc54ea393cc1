// A location type that keeps its files in memory, known to the layer by its registration alone.
#pragma once

#include <set>
#include <string>
#include <vector>

struct memory_store {
    // The full names of files, "mem:/dir/part.prt.1"; every directory that a name holds exists.
    std::set<std::string> files;
    int listings_made = 0, listings_kept = 0; // all there have been, and those not closed again
    // How the location behaves.
    int open_status = 0; // of "PfaDirOpen"
    int eligible = 1;
    int is_virtual = 0;
    int close_status = 0;

    // What a directory holds whose name starts like that; sorted.
    std::vector<std::string> names_in(const std::string &directory,
                                      const std::string &start = "") const;
};

// The store, empty, well behaved and nowhere cached; the first call registers the location type.
memory_store &fresh_memory_store();
