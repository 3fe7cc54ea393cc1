// Zones: arenas whose memory is released all at once.
//
// A zone takes chunks of one size from getmem() and hands out pieces of them, zero and 8-byte
// aligned. Threads: as in getmem.h.
#pragma once

// Opens a zone with chunks of `chunk_size` bytes, rounded up to a multiple of 8. Returns its index;
// -1 if the size is not positive or memory is exhausted (after the report).
int zone_open(int chunk_size);

// Returns `size` bytes; null if size is 0. A zone that is not open, a request larger than a chunk
// and exhausted memory go to the traps ("Memory error."); if no frame takes that, returns null.
[[nodiscard]] void *zone_getmem(int zone, int size);

// Releases everything that was taken from the zone, which stays open. Nothing happens if it is not
// open.
void zone_empty(int zone);
// The same, and closes the zone: its index may be given to another.
void zone_close(int zone);
