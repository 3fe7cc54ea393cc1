// The tool's main routine: command line, environment, exit status.
#pragma once

// Handles "-verify", or builds the catalog of the library that VEK_LIBRARY_DIR names, and ends the
// process. The status is 1 if a catalog was written or the variable is not set, else 0. The state
// of standard output, which gets every message, never changes the status.
[[noreturn]] void cxx_main(int argc, char **argv);

// Returns the version that "-verify" prints, a static text.
const char *get_internal_version();
