// Exit handlers and the end of the process.
#pragma once

using wlx_exit_handler = void (*)(int code);

// Registers a handler that runs before a fatal exit, the newest first. Returns 1, or 0 for null and
// if there is no memory. Any thread may call. A handler registered while the handlers run comes
// first in their list, so the run calls one of the others a second time in its place.
int wlx_exit_register(wlx_exit_handler handler);

// Calls the handlers with the code. Only the first call of the process does; it takes no lock, so
// that a fatal error inside a registration still gets through.
void wlx_exit_run(int code);

// Ends the process with the code through exit(), without the handlers above; or, if a function has
// been installed, calls that instead and returns.
void wlx_exit(int code);
// Null installs none.
void set_wlx_exit_func(wlx_exit_handler function);

// The lock of registrations. Not recursive.
void lock_wlx_exit_functions();
void unlock_wlx_exit_functions();
