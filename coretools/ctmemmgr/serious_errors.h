// Reports of serious errors: silent unless switched on, fatal, or handed to the traps.
//
// name is the place that reports; format and the arguments after it go through vek_vsprintf. Both
// may be null: the text that needs them is left out, and so is a message that the engine refuses.
// Everything is printed on standard output. Any thread may report; reports of one kind never mix.
#pragma once

// A serious internal error. Does nothing and answers 0 while the verbose mode is off or another
// report of this kind is under way on any thread. Otherwise prints (outside the user run mode),
// ends the process or continues as set_dbg_err_crash and the callback say, and answers 1.
int dbg_err_crash(const char *name, const char *format, ...);

// A failed system call: 0 and silent while the verbose mode is off, else 1; prints outside the user
// run mode.
int dbg_err_syserr(const char *name, const char *format, ...);

// A trace: 0 and silent in the user run mode, else 1.
int dbg_print_info(const char *name, const char *format, ...);

// A fatal error: prints name and text, then crash. Where that returns, answers 0.
int err_crash(const char *name, const char *text);

// A recoverable error. Reports text, a format without arguments, then hands TRP_CLASS_MEMORY to the
// traps: control passes to the innermost frame of this thread that takes it, and every mutex of the
// thread is released first. Returns, with the mutexes gone, when no frame takes it: the caller must
// then cope with the failure itself.
void error_break(const char *text);

// The verbose mode: the master switch of dbg_err_crash and dbg_err_syserr, off at first.
void set_verbose_mode(int on);
int get_verbose_mode();

// Whether a serious error ends the process: 1 it does, 0 it does not, -1 (at first) decided at the
// next report: 0 in the user run mode, else 1.
void set_dbg_err_crash(int ends_process);

// Asked before a serious error ends the process, unless the input mode, the run mode and the
// environment variable DBG_ERR_SHOW_DIALOG leave it out: nonzero ends it, zero continues. message
// may be null and lives until the callback returns. The setter answers
// the callback that was installed before.
using dbg_crash_callback = int (*)(const char *name, const char *message);
dbg_crash_callback set_dbg_err_crash_callback(dbg_crash_callback callback);

void lock_dbg_crash();
void unlock_dbg_crash();
void lock_dbg_err_syserr();
void unlock_dbg_err_syserr();
void lock_dbg_print_info();
void unlock_dbg_print_info();
