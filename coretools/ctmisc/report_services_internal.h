// What the reports need from the layers above them.
//
// Reports are at the bottom, so that every layer can report, and yet a report reads like any other
// text of the system, asks the user only where the input mode allows it, and opens its file through
// the call that notifies the directory cache. These declarations stand here so that no file of the
// bottom includes a header of a higher layer; the files that define the functions include this one.
#pragma once

#include "basictk/baselib/inc/thrTrap.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>

// A formatted text that stays as it is while the thread formats others. Belongs to the calling
// thread; a trap that jumps past the owner releases it.
struct vek_held_text {
    char *text = nullptr; // null if nothing is held
    std::size_t length = 0;
    trp_marked_call call;
};

// Formats like vek_vsprintf (coretools/ctwcfun) into a buffer of this thread that no other call
// uses until vek_release_text. Returns held->text: null, with nothing to release, where
// vek_vsprintf returns null. Texts are released in the reverse order.
const char *vek_hold_text(vek_held_text *held, const char *format, std::va_list arguments);
void vek_release_text(vek_held_text *held);

// NOLINTBEGIN(readability-redundant-declaration): see above

// coretools/ctfileutil/input_mode.h
int get_input_mode();

// coretools/ctdci/dci.h
std::FILE *dci_fopen(const char *name, const char *mode);

// NOLINTEND(readability-redundant-declaration)
