// Multi-byte text as wide text, in rotating buffers.
#pragma once

#include "coretools/ctplatform/wide_text.h"

// Valid until the fourth call after this one; null when there is no memory. Not thread-safe.
const vek_wchar *wstr_ret(const char *text);
