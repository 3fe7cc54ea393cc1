// Bookkeeping of the memory layer that exhausted memory must not jump out of.
#pragma once

#include <type_traits>

// Calls function(argument) under a trap frame of its own, which takes the trap of exhausted memory
// (error_break in serious_errors.h). Returns true if the function returned; false if there was no
// memory for the frame (the function is then not called) or for the function, which the trap then
// left half done: keep what it works on consistent at every allocation. The trap releases the
// thread's mutexes.
bool call_with_memory_trap(void (*function)(void *), void *argument);

// The same for an object to call.
template <class Function>
bool call_with_memory_trap(Function function) {
    static_assert(std::is_trivially_destructible_v<Function>, "a jump destroys nothing");
    return call_with_memory_trap([](void *object) { (*static_cast<Function *>(object))(); },
                                 &function);
}

// Appends a zero element to a chunked array (har.h) of the memory layer's own, which is made on
// first use, and returns it; null without memory.
void *append_to_bookkeeping(void ***har, int element_size, int step);

// True while this thread is in such a call or otherwise works on the memory layer's own records.
// The memory loop does not follow what is allocated meanwhile.
extern constinit thread_local bool in_memory_bookkeeping;
