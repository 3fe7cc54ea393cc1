// Boxed diagnostic messages, written to a file or to standard error.
//
// All switches are off at first: nothing is printed and no signal sent. Messages are cut to 999
// characters. A message that comes while another is under way, on any thread, is dropped.
#pragma once

#include <cstdio>

// A fatal error: printed, then SIGUSR1 to the own process when signals are allowed and the crash
// function, if there is one, does not answer 0 for the name.
void dbg_crash_msg(const char *name, const char *format, ...);
void dbg_error_msg(const char *name, char level, const char *format, ...);
void dbg_info_msg(const char *name, const char *format, ...);

// Formats and writes at most 999 characters to the stream; null is standard error.
void dbg_fprintf(std::FILE *stream, const char *format, ...);

using dbg_crash_func = int (*)(const char *name);
void dbg_set_allow_print(int allowed);
void dbg_set_allow_crash(int allowed);
void dbg_set_crash_func(dbg_crash_func function);

// The file that receives the messages, in place of standard error; null or empty for none. The
// first message of the process that goes to a file truncates it, the others are appended. 1, or 0
// for a name of 260 characters and more: the setting then stays as it was. Each message to a file
// tells the directory cache, which one thread at a time may use.
int dbg_set_error_file_name(const char *name);

void lock_dbg_msg_tool();
void unlock_dbg_msg_tool();
