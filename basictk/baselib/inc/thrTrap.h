// Traps: non-local jumps out of an error, in practice exhausted memory, to a frame that a caller
// has pushed.
//
// A caller that can go on without the memory calls setjmp and pushes a frame. error_break
// (coretools/ctmemmgr/serious_errors.h) then jumps there with longjmp: no destructor runs in the
// frames that the jump skips, so code that allocates while it holds something keeps no object with
// a destructor there, or keeps the trap out with a frame of its own. Where no frame is pushed, as
// in the catalog tool, nothing jumps: error_break returns, and each caller handles the failure.
#pragma once

#include "basictk/baselib/inc/btkXArray.h"

#include <atomic>
#include <csetjmp>
#include <cstdint>

// Trap classes are bits of a mask.
constexpr int TRP_CLASS_MEMORY = 2;

using trp_word = std::intptr_t;
constexpr int TRP_CLEANUP_WORDS = 16;
using trp_cleanup = void (*)(const trp_word words[TRP_CLEANUP_WORDS]);

struct trp_cleanup_call;

// Set while a call that must not be entered twice (a report, formatting into one buffer) is under
// way. A trap that jumps out of the call clears its mark.
struct trp_mark {
    std::atomic<int> set{0};
};

// A marked call of this thread. Lives in the stack frame of the call.
struct trp_marked_call {
    trp_mark *mark = nullptr;
    trp_marked_call *outer = nullptr; // the marked call that this one is inside
};

struct trp_frame {
    int class_mask;             // the classes that this frame takes
    std::jmp_buf *context;      // the caller's; resumed with the value 1
    trp_marked_call *innermost; // when the frame was pushed; a trap ends the calls inside it
    trp_cleanup_call *head;     // queued calls, first in first out
    trp_cleanup_call *tail;     // the last one, if there is a first
};

// One thread's frames, the innermost last. From malloc, since a trap comes when the allocator has
// no memory left. Never released. The switches belong to its thread.
struct trp_stack : btkAllocated {
    btkXArray<trp_frame> frames;
    int armed = 1;         // a trap jumps at once
    int pending = 0;       // a trap arrived while disarmed;
    int pending_class = 0; // whoever arms the stack handles pending_class
    int suspended = 0;     // a trap only marks the stack executing
    int executing = 0;     // a trap is being handled: another one is ignored
};

// Gives every thread a trap stack of its own; before, the whole process has one. May be called
// again. Takes no lock of the library.
void init_trap_tls();

// Returns the calling thread's trap stack, made on first use. Null if there is no memory.
trp_stack *tls_get_trap_ptr();

// Pushes a frame that takes the classes in class_mask. `context` belongs to the caller, who fills
// it with setjmp before a trap can come and keeps it until the frame is popped. Returns 1, or 0 if
// there is no memory.
int trp_push_frame(int class_mask, std::jmp_buf *context);
// Pops the innermost frame and releases its queued clean-up calls without running them. The owner
// of a frame pops it on every way out, also after a trap has resumed there.
void trp_pop_frame();
// Queues a clean-up call on the innermost frame, with 0 for the words that are not given. Returns
// 1, or 0 if there is no frame or no memory or `count` is not 0 to TRP_CLEANUP_WORDS.
int trp_queue_cleanup(trp_cleanup function, const trp_word *words, int count);

// Sets the mark and enters the call. False, and nothing is done, if the mark is set already, by
// whichever thread.
[[nodiscard]] bool trp_enter_call(trp_marked_call *call, trp_mark *mark);
// Leaves the thread's innermost marked call and clears its mark.
void trp_leave_call(trp_marked_call *call);

// Handles a trap of the classes in class_mask on the calling thread:
//   1. unlocks the thread's mutexes, one level each;
//   2. from the innermost frame outwards, runs each frame's clean-up calls, until a frame takes one
//      of the classes;
//   3. drops the frames inside that one, ends the marked calls that the jump leaves, and jumps to
//      its context, where setjmp returns 1.
// Returns only if no frame takes the trap: the frames are then as they were, without their calls.
void trp_execute(int class_mask);
