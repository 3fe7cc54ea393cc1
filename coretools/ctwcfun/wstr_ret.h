// Multi-byte text as wide text, in rotating buffers.
#pragma once

#include "coretools/ctplatform/wide_text.h"

// Returns the wide form of `text` (null counts as empty) in one of four buffers, used in turn: it
// is valid until the fourth call after this one. Null if there is no memory. The buffers are shared
// by all threads; only one thread at a time may call.
const vek_wchar *wstr_ret(const char *text);
