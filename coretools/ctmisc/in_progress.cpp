// Marks of calls that are under way, which a trap takes back when it jumps out of them.
#include "coretools/ctmisc/in_progress.h"

static thread_local in_progress_mark *innermost = nullptr;

bool in_progress_enter(in_progress_mark *mark) {
    if (mark->set.exchange(1, std::memory_order_acquire) != 0) {
        return false;
    }
    mark->outer = innermost;
    innermost = mark;
    return true;
}

void in_progress_leave(in_progress_mark *mark) {
    if (innermost == mark) {
        innermost = mark->outer;
        mark->set.store(0, std::memory_order_release);
    }
}

void in_progress_abandon_all() {
    while (innermost != nullptr) {
        in_progress_leave(innermost);
    }
}
