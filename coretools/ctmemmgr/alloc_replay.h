// Allocation replay: finds in a second run the allocations that a first run never released.
//
// While it is on, every block gets a serial, counted from 0, when it is allocated or resized. The
// replay file names, in ascending order, the serials to look for: a line "%d %d\n" each, serial
// and size. A program whose runs allocate in the same order meets them again and reports them.
#pragma once

#include <cstdio>

constexpr int REPLAY_OFF = 0;
constexpr int REPLAY_NUMBER_BLOCKS = 1;
constexpr int REPLAY_REPORT_BLOCKS = 2;

// Starts at serial 0, or ends, the replay. The file is read only at level 2, stays the caller's
// and must live until the replay ends; it may be null.
void set_memory_file_level(int level, std::FILE *bad_indexes);

// Gives the block at data the next serial and reports it when the file names it.
void memdebug_alloc(void *data);
// Reads the next line of the replay file; behind the last one no serial matches any more.
void memdebug_get_next_bad_index();
// The serial of a general block; -1 when it has none.
int memdebug_serial(const void *data);
