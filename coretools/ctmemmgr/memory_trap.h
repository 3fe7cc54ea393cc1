// Runs bookkeeping of the memory layer so that exhausted memory cannot jump out of it.
#pragma once

// Calls function(argument) under a trap frame for exhausted memory: true when it returned, false
// when memory was exhausted, for the frame (the function is then not called) or in the function.
// What the function works on must be in order whenever it allocates; the thread's mutexes may have
// been released on the way.
bool call_with_memory_trap(void (*function)(void *), void *argument);

// Set while this thread is in such a call, or otherwise busy with the memory layer's own records:
// what it allocates meanwhile is not the program's doing, and no memory loop follows it.
extern constinit thread_local bool in_memory_bookkeeping;
