// Allocation replay: finds in a second run the allocations that a first run never released.
//
// While it is on, every block gets a serial, counted from 0, when it is allocated or resized. The
// replay file names, in ascending order, the serials to look for: a line "%d %d\n" each, serial
// and size. A program whose runs allocate in the same order meets them again and reports them.
#pragma once

#include <cstdio>

enum replay_level : int {
    REPLAY_OFF = 0,
    REPLAY_NUMBER_BLOCKS = 1, // blocks get serials
    REPLAY_REPORT_BLOCKS = 2, // and those that the file names are reported
};

// Sets the level and restarts at serial 0. `bad_indexes` is read at REPLAY_REPORT_BLOCKS only, may
// be null, belongs to the caller and must stay open until the level changes.
void set_memory_file_level(int level, std::FILE *bad_indexes);

// Gives a block the next serial, and reports the block if the file names that.
void memdebug_alloc(void *data);
// Reads the next line of the file. After the last one no serial matches.
void memdebug_get_next_bad_index();
// Returns the serial of a general block; -1 if it has none.
int memdebug_serial(const void *data);
