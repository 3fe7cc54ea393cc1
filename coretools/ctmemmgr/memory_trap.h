// Bookkeeping of the memory layer that exhausted memory must not jump out of.
#pragma once

// Calls function(argument) under a trap frame of its own, which takes the trap of exhausted memory
// (error_break in serious_errors.h). Returns true if the function returned; false if there was no
// memory for the frame (the function is then not called) or for the function, which the trap then
// left half done: keep what it works on consistent at every allocation. The trap releases the
// thread's mutexes.
bool call_with_memory_trap(void (*function)(void *), void *argument);

// True while this thread is in such a call or otherwise works on the memory layer's own records.
// The memory loop does not follow what is allocated meanwhile.
extern constinit thread_local bool in_memory_bookkeeping;
