// Trap frames: where a recoverable error resumes, and what is cleaned up on the way.
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
    trp_cleanup_call *tail;
};

// One thread's frames, the innermost last. Its memory comes from malloc: a trap is what happens
// when the allocator above has none left. Never released. The switches belong to its thread.
struct trp_stack : btkAllocated {
    btkXArray<trp_frame> frames;
    int armed = 1;         // a trap unwinds at once
    int pending = 0;       // a trap came while not armed, and its class:
    int pending_class = 0; // whoever arms the stack again looks here
    int suspended = 0;     // a trap only marks the stack executing
    int executing = 0;     // a trap is being handled: another one is ignored
};

// Gives every thread a trap stack of its own. Until then the whole process has one. May be called
// again; takes no lock of the library.
void init_trap_tls();

// The calling thread's trap stack, made on first use; null when there is no memory for one.
trp_stack *tls_get_trap_ptr();

// Pushes a frame that takes the classes in class_mask; context belongs to the caller and must be
// filled by setjmp and stay alive until the frame is popped. 1, or 0 when there is no memory.
int trp_push_frame(int class_mask, std::jmp_buf *context);
// Pops the innermost frame and releases its queued clean-up calls without running them. The owner
// of a frame pops it on every way out, after a trap has resumed there too.
void trp_pop_frame();
// Queues a clean-up call on the innermost frame; the words that are not given are 0. 1, or 0
// without a frame or memory or with a count outside 0 to TRP_CLEANUP_WORDS.
int trp_queue_cleanup(trp_cleanup function, const trp_word *words, int count);

// Sets the mark and enters the call. False, and nothing is done, if the mark is set already, by
// whichever thread.
[[nodiscard]] bool trp_enter_call(trp_marked_call *call, trp_mark *mark);
// Leaves the thread's innermost marked call and clears its mark.
void trp_leave_call(trp_marked_call *call);

// Hands a trap of the given class to the calling thread's innermost frame that takes it: first
// the thread's mutexes are unlocked (one level each), then the clean-up calls of every frame on
// the way are run, those of the frame itself included, and the inner frames are dropped, with the
// marks of the calls that the jump leaves. Returns
// only when no frame takes it: the frames are then as they were, but without their calls.
void trp_execute(int class_mask);
