// The tool's main routine.
#pragma once

[[noreturn]] void cxx_main(int argc, char **argv);
const char *get_internal_version();
