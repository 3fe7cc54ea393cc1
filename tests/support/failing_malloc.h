// Makes malloc and realloc fail on request. The programs that CMake's vek_make_malloc_fail names
// link a core whose own calls of malloc, realloc and free come through here; calls of the C and
// C++ libraries and of the tests do not.
#pragma once

#include <climits>

constexpr long NO_FAILURE = LONG_MAX;

// Makes the core's nth allocation from now on (0 is the next) fail, and if persistently all that
// follow. Counts the calls of all threads.
void fail_allocation(long nth, bool persistently);

// Called with every block that the core frees, before it is freed. Null at first.
extern void (*before_free)(void *block);
