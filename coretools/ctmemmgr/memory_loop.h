// Memory-loop debugging: finds what a repeated operation never releases.
//
// The program calls debug_memory_loop before each repetition. The first pass records every
// allocation, the second must make as many, and the third reports each allocation at whose place
// the first pass allocated something that neither pass released; then the next recording pass
// begins. Calls may come from any thread, but the passes only make sense when the order of the
// allocations is the same in each.
#pragma once

#include <atomic>

// What one source of memory (the general blocks, or a pool) keeps for the loop. The functions
// store an allocation's number in a block, read it back (-1: none) and tell the block's size; they
// take no lock but that of the chain of blocks.
struct memory_loop_record {
    std::atomic<int> active;
    int count;          // allocations of the current pass
    int previous_count; // allocations of the pass before
    void **addresses;   // chunked array: what the recording pass allocated, null once released
    void (*mark)(void *data, int number);
    int (*index)(const void *data);
    int (*size)(const memory_loop_record *record, const void *data);
};

// Marks the boundary between two passes; the first call starts the loop.
void debug_memory_loop();
void debug_cancel_memory_loop();
// 1 while a loop is running, else 0.
int get_in_debug_memory_loop();

constexpr int MEMORY_LOOP_ALL_SIZES = -1;

// Follow only blocks of this size (MEMORY_LOOP_ALL_SIZES: all of them, as at start).
void set_debug_memory_loop_size(int size);
// Called after each report, may be null; what it allocates is not followed.
void set_debug_memory_func(void (*function)());

// For the sources of memory, which call them only while their record is active and hold no lock.
void debug_memory_loop_alloc(memory_loop_record *record, void *data);
void debug_mark_released_memory(memory_loop_record *record, void *data);
void debug_memory_not_released(const memory_loop_record *record, const void *data);

// The general blocks' record, and the size of one of its blocks.
void dbggetmem_access(memory_loop_record **record);
int dbggetmem_size(const memory_loop_record *record, const void *data);
