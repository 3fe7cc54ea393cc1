// A formatted text that stays while the thread formats others.
#pragma once

#include "basictk/baselib/inc/thrTrap.h"

#include <cstdarg>
#include <cstddef>

// The calling thread's; a trap that jumps past the owner releases it.
struct vek_held_text {
    char *text = nullptr; // null if nothing is held
    std::size_t length = 0;
    trp_marked_call call;
};

// Formats like vek_vsprintf into a buffer of this thread that no other call uses until
// vek_release_text. Returns held->text: null, with nothing to release, where vek_vsprintf would
// return null. Texts are released in the reverse order.
const char *vek_hold_text(vek_held_text *held, const char *format, std::va_list arguments);
void vek_release_text(vek_held_text *held);
