// Multi-byte text as wide text, in rotating buffers.
#pragma once

#include "coretools/ctplatform/wide_text.h"

// The wide form of text (a null one counts as empty), in one of four buffers that calls use in
// turn: valid until the fourth call after this one. Null when there is no memory. The buffers are
// shared by all threads: only one thread may use them at a time.
const vek_wchar *wstr_ret(const char *text);
