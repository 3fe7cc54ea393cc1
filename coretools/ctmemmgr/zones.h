// Zones: arenas whose memory is given back all at once.
//
// A zone takes chunks of one size from getmem and hands out pieces of them, zero and 8-byte
// aligned. The functions may be called from several threads.
#pragma once

// A new zone whose chunks have this many bytes, rounded up to a multiple of 8: its index, 0 or
// more, or -1 for a size of 0 or less and when memory is exhausted (after its report).
int zone_open(int chunk_size);

// size zero bytes, null for size 0. A zone that is not open, a request larger than a chunk and
// exhausted memory go to the innermost trap frame (error_break, "Memory error."), and answer null
// where no frame takes it.
[[nodiscard]] void *zone_getmem(int zone, int size);

// Gives back everything that was taken from the zone, which stays open; nothing happens for a
// zone that is not open.
void zone_empty(int zone);
// The same, and closes the zone: its index may be used again.
void zone_close(int zone);
