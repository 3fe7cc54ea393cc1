// Everything that differs from host to host. A port to another host provides what the headers
// below declare; the rest of the code asks for POSIX, ISO C++20 and two's-complement integers of
// 8, 16 and 32 bits, and holds no conditional on a platform.
//
//   file_system.h  Is the file system that holds a path local to this host? Here by the type that
//                  statfs() reports; hosts whose statvfs() knows a "local" flag use that instead.
//   wide_text.h    Wide text and its conversion from and to EUC bytes. Hosts that have these calls
//                  with the packing described there may use their own.
//
// Byte order needs no port: layouts are packed with shifts and masks and read in whole fields.
#pragma once

#include "coretools/ctplatform/file_system.h"
#include "coretools/ctplatform/wide_text.h"
