// Marks of calls that are under way, which a trap takes back when it jumps out of them.
#include "coretools/ctmisc/in_progress.h"

static thread_local in_progress_call *innermost = nullptr;

static bool set_mark(in_progress_mark *mark) {
    return mark->set.exchange(1, std::memory_order_acquire) == 0;
}

static void clear_mark(in_progress_mark *mark) {
    if (mark != nullptr) {
        mark->set.store(0, std::memory_order_release);
    }
}

bool in_progress_enter(in_progress_call *call, in_progress_mark *mark) {
    if (!set_mark(mark)) {
        return false;
    }
    *call = {mark, innermost};
    innermost = call;
    return true;
}

void in_progress_leave(in_progress_call *call) {
    if (innermost == call) {
        innermost = call->outer;
        clear_mark(call->mark);
    }
}

in_progress_call *in_progress_abandon_all() {
    in_progress_call *const abandoned = innermost;
    for (in_progress_call *call = abandoned; call != nullptr; call = call->outer) {
        clear_mark(call->mark);
    }
    innermost = nullptr;
    return abandoned;
}

void in_progress_resume(in_progress_call *abandoned) {
    for (in_progress_call *call = abandoned; call != nullptr; call = call->outer) {
        if (call->mark != nullptr && !set_mark(call->mark)) {
            call->mark = nullptr;
        }
    }
    innermost = abandoned;
}
