// Runs bookkeeping of the memory layer so that exhausted memory cannot jump out of it.
#pragma once

enum class trapped_call {
    DONE,     // the function returned
    NOT_MADE, // no memory for the trap frame: the function was not called
    TRAPPED,  // it ran out of memory: the thread's mutexes have been released on the way
};

// Calls function(argument) under a trap frame for exhausted memory. What the function holds apart
// from mutexes must be in order before it allocates.
[[nodiscard]] trapped_call call_with_memory_trap(void (*function)(void *), void *argument);

// Set while this thread is in such a call, or otherwise busy with the memory layer's own records:
// what it allocates meanwhile is not the program's doing, and no memory loop follows it.
extern constinit thread_local bool in_memory_bookkeeping;
