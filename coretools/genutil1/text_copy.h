// Small copies of text.
#pragma once

// Returns a copy from getmem, which the caller releases with rlsmem. Null for null and if there is
// no memory.
[[nodiscard]] char *make_scopy(const char *text);

// Copies `source` into destination[size] and returns 0. If it does not fit with its terminating
// zero, or is null, stores the empty text (for a size of 0 nothing) and returns 1.
int strcpy_limit(const char *source, int size, char *destination);
