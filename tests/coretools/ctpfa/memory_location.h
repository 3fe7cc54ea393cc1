// A location type that keeps its files in memory, known to the layer by its registration alone.
#pragma once

#include <map>
#include <string>

// Files by full name, "mem:/dir/part.prt.1"; every directory that a name holds exists.
struct memory_store {
    std::map<std::string, std::string> files;
    int generation = 0; // of the listings
    int listings_made = 0;
    // How the location behaves.
    int open_status = 0; // of "PfaDirOpen"
    int eligible = 1;
    int is_virtual = 0;
    int close_status = 0;
};

// The store, empty and well behaved; the first call registers the location type.
memory_store &fresh_memory_store();
