// Everything that differs from host to host. A port to another host provides what these headers
// declare; the rest of the code uses POSIX, ISO C++20 and two's-complement integers of 8, 16 and 32
// bits, and has no conditional on a platform.
//
//   file_system.h  Is the file system that holds a path local to this host? Decided here by the
//                  type that statfs() reports; a host whose statvfs() has a "local" flag uses that.
//   heap.h         How the heap grows. A hint: a port may leave it empty.
//   wide_text.h    Wide text and its conversion from and to EUC bytes. A host that has these calls
//                  with the same packing may use its own.
//
// Byte order needs no port: layouts are packed with shifts and masks and read in whole fields.
#pragma once

#include "coretools/ctplatform/file_system.h"
#include "coretools/ctplatform/heap.h"
#include "coretools/ctplatform/wide_text.h"
