// Reports of serious errors.
//
// Three grades, of which only the second shows in a program that switches nothing on:
//   dbg_err_crash, dbg_err_syserr, dbg_print_info   silent until the verbose mode or another run
//                                                   mode than the user's is set
//   err_crash                                       printed, ends the process with status 2
//   error_break                                     exhausted memory: handed to the trap frames
//                                                   (thrTrap.h); its own report is a dbg_err_crash,
//                                                   so silent by default
//
// `name` is the place that reports; `format` and its arguments are vek_vsprintf's. Without a format
// the name stands alone; without a name nothing is printed. Everything is printed on standard
// output. Any thread may call; reports of one function do not mix.
#pragma once

// A serious internal error. Returns 0, and does nothing, while the verbose mode is off or another
// dbg_err_crash is under way on any thread. Otherwise prints name and message (outside the user run
// mode), ends the process or continues as set_dbg_err_crash and the callback say, and returns 1.
int dbg_err_crash(const char *name, const char *format, ...);

// A failed system call. Returns 0, silent, while the verbose mode is off, else 1. Prints outside
// the user run mode only.
int dbg_err_syserr(const char *name, const char *format, ...);

// A trace. Returns 0, silent, in the user run mode, else 1.
int dbg_print_info(const char *name, const char *format, ...);

// A fatal error: prints name and text, then calls crash(), and returns 0 if that returns.
int err_crash(const char *name, const char *text);

// Memory is exhausted, or a container has reached its limit. Passes `text` to the message hook and
// to dbg_err_crash, where it is a format without arguments, and then calls
// trp_execute(TRP_CLASS_MEMORY): the thread's mutexes are released, and if a trap frame of the
// thread takes the class, control jumps there and this call never returns. Without such a frame, as
// in the catalog tool, it returns, and the caller must cope with the failure itself.
void error_break(const char *text);

// The verbose mode: the master switch of dbg_err_crash and dbg_err_syserr, 0 (off) at first.
void set_verbose_mode(int on);
int get_verbose_mode();

// What a serious error does. At first undecided: the next report decides, DBG_ERR_CONTINUES in the
// user run mode, else DBG_ERR_ENDS_PROCESS.
constexpr int DBG_ERR_UNDECIDED = -1;
constexpr int DBG_ERR_CONTINUES = 0;
constexpr int DBG_ERR_ENDS_PROCESS = 1;
void set_dbg_err_crash(int what_it_does);

// Called before a serious error ends the process, which it does only if the result is not 0. The
// first report decides for the rest of the run whether it is called:
//   input mode other than 1                             called
//   else RUN_MODE_REGRESSION or RUN_MODE_NO_CALLBACK    not called
//   else                                                called if the environment has
//                                                       DBG_ERR_SHOW_DIALOG
// `message` is the text that was printed, null in the user run mode and without a name or format;
// it lives until the callback returns. The setter returns the callback that was installed before.
using dbg_crash_callback = int (*)(const char *name, const char *message);
dbg_crash_callback set_dbg_err_crash_callback(dbg_crash_callback callback);

// The locks under which the functions above print. Recursive. Allocate nothing, and format nothing,
// under lock_dbg_crash(): exhausted memory would be reported under it.
void lock_dbg_crash();
void unlock_dbg_crash();
void lock_dbg_err_syserr();
void unlock_dbg_err_syserr();
void lock_dbg_print_info();
void unlock_dbg_print_info();
