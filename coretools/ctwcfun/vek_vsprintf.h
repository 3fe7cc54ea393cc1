// The formatting engine behind every text of the system.
//
// A format is like printf's, with %d %i %o %u %x %c (int), the same but %c with 'l' (long), %f %lf
// %e %g (double), %s (text), %ws (wide text) and %pd %pf (the text of a directory or file path of
// less than 256 bytes, printed with the host's separators); flags, width, precision and '*' as
// usual. Letters count in either case; %X, %E, %G and %F print as they do in printf. Everything
// else after a '%' but "%%" is refused. Multi-byte (EUC) characters of the format are never split.
//
// A directive is at most 23 characters long, its stars filled in; a format at most 500 bytes, and a
// result 2047983. A null text prints as an empty one, a double below 1e-30 in magnitude as 0.0.
//
// Any thread; each has its own buffers, which only grow and are kept until the process ends.
#pragma once

#include <cstdarg>

// Formats into destination, which must hold the whole result and may be one of the arguments, and
// answers it. With a null destination answers the thread's own buffer, valid until the thread's
// next call of the engine. Null, and nothing written, when the format is refused (one that is too
// long is also reported on standard output) or memory runs out and no trap frame takes it: hold no
// lock across a call.
char *vek_vsprintf(char *destination, const char *format, std::va_list arguments);

// Formats to standard output and answers the length of the text; 0 when it was not written.
int vek_printf(const char *format, ...);
