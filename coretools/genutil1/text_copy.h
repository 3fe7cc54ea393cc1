// Small copies of text.
#pragma once

// A copy in memory from getmem, which the caller releases; null for null and without memory.
[[nodiscard]] char *make_scopy(const char *text);

// Copies source into destination[size] and answers 0. A source that does not fit with its
// terminating zero, or is null, leaves the empty text (nothing at all for a size of 0) and answers
// 1.
int strcpy_limit(const char *source, int size, char *destination);
