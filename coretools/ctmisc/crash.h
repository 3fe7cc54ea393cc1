// The end of the process after a fatal error.
#pragma once

// Prints "Serious internal error; cannot continue.", runs the exit handlers (wlx_exit.h) and ends
// the process, both with status 2. Returns, 0, only if the function of set_wlx_exit_func returns or
// the debug switch is on.
int crash();

// While on, crash() raises SIGSEGV instead, so that a debugger stops at the place of the error.
void set_vek_debug_switch(int on);
