// Boxed diagnostic messages, written to a file or to standard error.
#pragma once

#include <cstdio>

void dbg_crash_msg(const char *name, const char *format, ...);
void dbg_error_msg(const char *name, char level, const char *format, ...);
void dbg_info_msg(const char *name, const char *format, ...);
void dbg_fprintf(std::FILE *stream, const char *format, ...);
