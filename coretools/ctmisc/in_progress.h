// Marks of calls that are under way, which a trap takes back when it jumps out of them.
//
// A report or a formatting call marks itself, so that a second one started from inside it can tell.
// A trap leaves such calls by longjmp, past the line that clears the mark; each thread therefore
// keeps a list of the marks that it has set, and error_break clears the list before the jump.
#pragma once

#include <atomic>

struct in_progress_mark {
    std::atomic<int> set{0};
    in_progress_mark *outer = nullptr; // the mark that the same thread had set before this one
};

// False, and nothing is done, when the mark is set already, by whichever thread.
bool in_progress_enter(in_progress_mark *mark);

// Clears a mark that this thread has set; nothing when a trap has cleared it in the meantime.
void in_progress_leave(in_progress_mark *mark);

// Clears every mark that this thread has set.
void in_progress_abandon_all();
