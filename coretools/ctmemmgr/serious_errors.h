// Reports of serious errors: silent unless switched on, fatal, or handed to the traps.
#pragma once

int dbg_err_crash(const char *name, const char *format, ...);
int dbg_err_syserr(const char *name, const char *format, ...);
int dbg_print_info(const char *name, const char *format, ...);
int err_crash(const char *name, const char *text);
void error_break(const char *text);

using dbg_crash_callback = int (*)(const char *name, const char *message);
void set_verbose_mode(int on);
int get_verbose_mode();
void set_dbg_err_crash(int ends_process);
dbg_crash_callback set_dbg_err_crash_callback(dbg_crash_callback callback);
