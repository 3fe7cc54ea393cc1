// The tool's main routine: command line, environment, exit status.
#pragma once

// Answers "-verify", or builds the catalog of the library that VEK_LIBRARY_DIR names, and ends the
// process: status 1 for a catalog that was written and for an unset variable, 0 for anything else.
// Every message goes to standard output, whose state never changes the status.
[[noreturn]] void cxx_main(int argc, char **argv);

// The version that "-verify" prints; a static text.
const char *get_internal_version();
