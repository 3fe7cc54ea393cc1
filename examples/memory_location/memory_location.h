// An example of a location type: it keeps its files in memory.
//
// A name is "mem:" and an absolute path, such as "mem:/parts/bolt.prt.3".
#pragma once

#include "coretools/ctpfa/pfaloc_tables.h"

#include <map>
#include <string>

constexpr pfa_location_type MEMORY_LOCATION = PfaInSession;

// The files of a directory by name, extension and version, and what they hold.
using memory_directory = std::map<std::string, std::string>;

// The directories by their location text, such as "mem:/parts/".
extern std::map<std::string, memory_directory> memory_directories;

// Registers the location type at the first call.
void register_memory_location();
