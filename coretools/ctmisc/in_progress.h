// Marks of calls that are under way, which a trap takes back when it jumps out of them.
//
// A report or a formatting call sets a mark, so that a second one started from inside it, or on
// another thread, can tell. A trap leaves such calls by longjmp, past the line that clears the
// mark; each thread therefore keeps a list of its marked calls, which error_break empties before
// the jump.
#pragma once

#include <atomic>

struct in_progress_mark {
    std::atomic<int> set{0};
};

// A marked call; lives in the frame of that call.
struct in_progress_call {
    in_progress_mark *mark = nullptr;
    in_progress_call *outer = nullptr; // the marked call of the same thread that this one is inside
};

// False, and nothing is done, when the mark is set already, by whichever thread.
[[nodiscard]] bool in_progress_enter(in_progress_call *call, in_progress_mark *mark);

// Clears the mark of the innermost marked call; nothing when a trap has taken it back.
void in_progress_leave(in_progress_call *call);

// Takes back the marks of all calls of this thread, before a jump that may leave them.
in_progress_call *in_progress_abandon_all();
// Sets them again, as far as no other thread has done so, when there was no jump.
void in_progress_resume(in_progress_call *abandoned);
