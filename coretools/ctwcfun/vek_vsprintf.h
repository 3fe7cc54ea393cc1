// The formatting engine behind every text of the system.
//
// Formats are like printf's. Conversions, in either case:
//   %d %i %o %u %x %c   int; with 'l' (not %c) long
//   %f %lf %e %g        double; one below 1e-30 in magnitude prints as 0.0
//   %s                  text
//   %ws                 wide text (const vek_wchar *), printed as EUC bytes
//   %pd %pf             path of a directory or file, below 256 bytes, printed with this host's
//                       separators; a longer one is reported and prints as an empty text
// Flags "-+ #0'", width, precision and '*' mean what they do in printf. A null text prints as an
// empty one. Anything else behind a '%' but "%%" is refused. Multi-byte (EUC) characters of the
// format are never split.
//
// Limits: a format 500 bytes, a directive 23 characters with its stars filled in, a result 2047983
// bytes.
//
// Any thread may call. Each has buffers of its own, which only grow and are never released.
#pragma once

#include <cstdarg>

// Formats into `destination`, which must have room for the whole result and may be one of the
// arguments, and returns it. With a null destination returns the thread's buffer instead, valid
// until the thread's next call of the engine. Returns null, and writes nothing, if the format is
// refused (one that is too long is reported on standard output) or memory runs out and no trap
// frame takes that. Hold no lock across a call: a trap would release it.
char *vek_vsprintf(char *destination, const char *format, std::va_list arguments);

// Formats to standard output. Returns the length of the text, 0 if it was not written.
int vek_printf(const char *format, ...);
