// Trap stacks: frames, clean-up calls, marked calls, and finding the frame that takes a trap.
#include "basictk/baselib/inc/thrTrap.h"

#include "basictk/baselib/inc/thrLocalObject.h"
#include "basictk/baselib/inc/thrThread.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>

struct trp_cleanup_call {
    trp_cleanup_call *next;
    trp_cleanup function;
    trp_word words[TRP_CLEANUP_WORDS];
};

namespace {

std::atomic<thrLocalObject *> trp_stack_key{nullptr};

thread_local trp_marked_call *innermost_call = nullptr;

// Takes the first queued call off a frame. False if there is none.
bool take_call(trp_frame &frame, trp_cleanup_call *taken) {
    trp_cleanup_call *call = frame.head;
    if (call == nullptr) {
        return false;
    }
    frame.head = call->next;
    *taken = *call;
    std::free(call);
    return true;
}

// Drops the frames from an index on, with the calls that are still queued on them.
void drop_frames(trp_stack *stack, int from) {
    trp_cleanup_call call;
    for (int i = from; i < stack->frames.Count(); ++i) {
        while (take_call(stack->frames[i], &call)) {
        }
    }
    stack->frames._Remove(from, stack->frames.Count() - from);
}

// Runs the calls queued on a frame. A call may push and pop frames, which moves them, and may even
// pop too many.
void run_calls(trp_stack *stack, int index) {
    trp_cleanup_call call;
    while (index < stack->frames.Count() && take_call(stack->frames[index], &call)) {
        call.function(call.words);
    }
}

// No object with a destructor may live in a frame that the jump leaves, here and in trp_execute.
[[noreturn]] void resume_at(trp_stack *stack, int index) {
    const trp_frame frame = stack->frames[index];
    while (innermost_call != frame.innermost) {
        trp_leave_call(innermost_call);
    }
    drop_frames(stack, index + 1);
    stack->executing = 0;
    std::longjmp(*frame.context, 1);
}

trp_stack *own_trap_stack(thrLocalObject *key) {
    auto *stack = static_cast<trp_stack *>(thrLocalObject_GetData(key));
    if (stack == nullptr) {
        stack = new trp_stack;
        if (stack != nullptr && !thrLocalObject_SetData(key, stack)) {
            delete stack;
            stack = nullptr;
        }
    }
    return stack;
}

} // namespace

void init_trap_tls() {
    if (trp_stack_key.load(std::memory_order_acquire) != nullptr) {
        return;
    }
    // No lock: a frame may be pushed while the initialisation lock is held.
    thrLocalObject *made = thrLocalObject_Create();
    thrLocalObject *present = nullptr;
    if (!trp_stack_key.compare_exchange_strong(present, made, std::memory_order_acq_rel)) {
        delete made;
        made = present;
    }
    thrLocalObject_SetData(made, nullptr);
}

trp_stack *tls_get_trap_ptr() {
    if (IsThreadingEnabled()) {
        init_trap_tls(); // threads must not share a stack
    }
    thrLocalObject *key = trp_stack_key.load(std::memory_order_acquire);
    if (key != nullptr) {
        return own_trap_stack(key);
    }
    if (IsThreadingEnabled()) {
        return nullptr;
    }
    static trp_stack *const static_trap = new trp_stack;
    return static_trap;
}

int trp_push_frame(int class_mask, std::jmp_buf *context) {
    init_trap_tls(); // a frame on static_trap would be lost when the key comes
    thrLocalObject *key = trp_stack_key.load(std::memory_order_acquire);
    trp_stack *stack = key != nullptr ? own_trap_stack(key) : nullptr;
    if (stack == nullptr || context == nullptr) {
        return 0;
    }
    return stack->frames.Append({class_mask, context, innermost_call, nullptr, nullptr}) ? 1 : 0;
}

void trp_pop_frame() {
    trp_stack *stack = tls_get_trap_ptr();
    if (stack != nullptr && stack->frames.Count() != 0) {
        drop_frames(stack, stack->frames.Count() - 1);
    }
}

int trp_queue_cleanup(trp_cleanup function, const trp_word *words, int count) {
    trp_stack *stack = tls_get_trap_ptr();
    if (stack == nullptr || stack->frames.Count() == 0 || function == nullptr || count < 0 ||
        count > TRP_CLEANUP_WORDS) {
        return 0;
    }
    auto *call = static_cast<trp_cleanup_call *>(std::malloc(sizeof(trp_cleanup_call)));
    if (call == nullptr) {
        return 0;
    }
    call->next = nullptr;
    call->function = function;
    std::fill(std::copy_n(words, count, call->words), std::end(call->words), trp_word{0});
    trp_frame &frame = stack->frames[stack->frames.Count() - 1];
    (frame.head != nullptr ? frame.tail->next : frame.head) = call;
    frame.tail = call;
    return 1;
}

bool trp_enter_call(trp_marked_call *call, trp_mark *mark) {
    if (mark->set.exchange(1, std::memory_order_acquire) != 0) {
        return false;
    }
    *call = {mark, innermost_call};
    innermost_call = call;
    return true;
}

void trp_leave_call(trp_marked_call *call) {
    innermost_call = call->outer;
    call->mark->set.store(0, std::memory_order_release);
}

void trp_execute(int class_mask) {
    thrThread::CurrentThreadUnlockAllOwnedMutex();
    trp_stack *stack = tls_get_trap_ptr();
    if (stack == nullptr || stack->executing != 0 || stack->frames.Count() == 0) {
        return;
    }
    stack->executing = 1;
    if (stack->suspended != 0) {
        return; // stays marked: no trap is handled until the stack's owner clears the mark
    }
    if (stack->armed == 0) {
        stack->executing = 0;
        stack->pending = 1;
        stack->pending_class = class_mask;
        return;
    }
    for (int i = stack->frames.Count() - 1; i >= 0; --i) {
        run_calls(stack, i);
        if (i < stack->frames.Count() && (stack->frames[i].class_mask & class_mask) != 0) {
            resume_at(stack, i);
        }
    }
    std::printf(" ALL TRAPS EXAUSTED\n");
    stack->executing = 0;
}
