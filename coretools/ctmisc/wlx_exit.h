// Exit handlers and the end of the process.
#pragma once

using wlx_exit_handler = void (*)(int code);

int wlx_exit_register(wlx_exit_handler handler);
void wlx_exit_run(int code);
void wlx_exit(int code);
void set_wlx_exit_func(wlx_exit_handler function);
