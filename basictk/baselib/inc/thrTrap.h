// Trap frames: where a recoverable error resumes, and what is cleaned up on the way.
#pragma once

#include <csetjmp>
#include <cstdint>

constexpr int TRP_CLASS_MEMORY = 2;

using trp_word = std::intptr_t;
constexpr int TRP_CLEANUP_WORDS = 16;
using trp_cleanup = void (*)(const trp_word words[TRP_CLEANUP_WORDS]);

void init_trap_tls();

// Pushes a frame that takes the classes in class_mask; context belongs to the caller and must be
// filled by setjmp and stay alive until the frame is popped. 1, or 0 when there is no memory.
int trp_push_frame(int class_mask, std::jmp_buf *context);
// Pops the innermost frame and releases its queued clean-up calls without running them.
void trp_pop_frame();
// Queues a clean-up call on the innermost frame: 1, or 0 without a frame or memory.
int trp_queue_cleanup(trp_cleanup function, const trp_word *words, int count);

// Hands a trap of the given class to the calling thread's innermost frame that takes it; returns
// only when no frame does.
void trp_execute(int class_mask);
