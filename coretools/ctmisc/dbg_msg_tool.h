// Boxed diagnostic messages, written to a file or to standard error.
//
// Silent at first: nothing is printed, and no signal is sent, until the switches below allow it.
// Messages are cut to 999 characters. A message that comes while another is under way, on any
// thread, is dropped. `format` and its arguments are vek_vsprintf's. Any thread may call, but a
// message that goes to a file notifies the directory cache, which only one thread may use.
#pragma once

#include <cstdio>

// A fatal error. Printed; then, if signals are allowed and the crash function, if there is one,
// does not return 0 for the name, SIGUSR1 is sent to the own process.
void dbg_crash_msg(const char *name, const char *format, ...);
// `level` is a letter of the heading.
void dbg_error_msg(const char *name, char level, const char *format, ...);
void dbg_info_msg(const char *name, const char *format, ...);

// Formats and writes to the stream, null for standard error, at most 999 characters.
void dbg_fprintf(std::FILE *stream, const char *format, ...);

using dbg_crash_func = int (*)(const char *name);
void dbg_set_allow_print(int allowed);
void dbg_set_allow_crash(int allowed);
void dbg_set_crash_func(dbg_crash_func function);

// Sets the file that receives the messages; null or empty for standard error. The first message of
// the process that goes to a file truncates it, the others are appended. Returns 1, or 0 for a name
// of 260 characters or more, and the setting then stays.
int dbg_set_error_file_name(const char *name);

// The lock under which messages are written. Recursive.
void lock_dbg_msg_tool();
void unlock_dbg_msg_tool();
