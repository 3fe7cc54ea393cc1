// The unconditional end of the process.
#pragma once

// Says so on standard output, runs the exit handlers and ends the process, both with code 2.
// Returns, then 0, only when an installed exit function returns or the debugging switch is on.
int crash();

// While on, crash raises SIGSEGV instead, so that a debugger stops at the place of the error.
void set_vek_debug_switch(int on);
