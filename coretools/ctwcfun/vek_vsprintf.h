// The formatting engine behind every text of the system.
#pragma once

#include <cstdarg>

char *vek_vsprintf(char *destination, const char *format, std::va_list arguments);
int vek_printf(const char *format, ...);
