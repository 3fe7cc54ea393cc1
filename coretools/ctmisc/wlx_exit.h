// Exit handlers and the end of the process.
#pragma once

using wlx_exit_handler = void (*)(int code);

// Registers a handler to be run before a fatal exit, the newest first: 1, or 0 for null and when
// there is no memory. Any thread.
int wlx_exit_register(wlx_exit_handler handler);

// Runs the handlers with the code, once in the life of the process: later calls do nothing. Takes
// no lock, so that a fatal error inside a registration still gets through.
void wlx_exit_run(int code);

// Ends the process with the code, without the handlers of this file. Returns only when a function
// has been installed in place of the exit and returns.
void wlx_exit(int code);
// Null restores the process exit.
void set_wlx_exit_func(wlx_exit_handler function);

void lock_wlx_exit_functions();
void unlock_wlx_exit_functions();
