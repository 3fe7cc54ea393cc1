// Memory-loop debugging: finds what a repeated operation never releases.
//
// The program calls debug_memory_loop() before each repetition. The first pass records every
// allocation, the second must make as many, and the third reports each allocation at whose place
// the first pass made one that neither pass released. Then the next recording pass begins. Any
// thread may call, but the passes must make their allocations in the same order.
#pragma once

#include <atomic>

// What a source of memory (the general blocks, or one pool) keeps for the loop. Of its functions,
// mark stores the number of an allocation in a block, index returns it (-1 if there is none), and
// size returns the size of a block. They may take the lock of the chain of blocks, no other.
struct memory_loop_record {
    std::atomic<int> active;
    int count;          // allocations of the current pass
    int previous_count; // allocations of the pass before
    void **addresses;   // chunked array: what the recording pass allocated, null once released
    void (*mark)(void *data, int number);
    int (*index)(const void *data);
    int (*size)(const memory_loop_record *record, const void *data);
};

// Ends a pass and begins the next; the first call starts the loop.
void debug_memory_loop();
void debug_cancel_memory_loop();
// 1 while a loop runs, else 0.
int get_in_debug_memory_loop();

constexpr int MEMORY_LOOP_ALL_SIZES = -1;

// Follows only blocks of this size; MEMORY_LOOP_ALL_SIZES, as at first, follows all.
void set_debug_memory_loop_size(int size);
// Sets what is called after each report; null, as at first, for nothing. What it allocates is not
// followed.
void set_debug_memory_func(void (*function)());

// For the sources of memory, which call these only while their record is active, and without locks.
void debug_memory_loop_alloc(memory_loop_record *record, void *data);
void debug_mark_released_memory(memory_loop_record *record, void *data);
void debug_memory_not_released(const memory_loop_record *record, const void *data);

// Stores the address of the general blocks' record in *record.
void dbggetmem_access(memory_loop_record **record);
// Returns the size of a general block; 0 if `data` is null.
int dbggetmem_size(const memory_loop_record *record, const void *data);
