// Makes the core's own calls of malloc and realloc fail, in a program that links failing_core.
#pragma once

#include <climits>

constexpr long NO_FAILURE = LONG_MAX;

// Makes the core's nth allocation from now on (0 is the next) fail, and if persistently all that
// follow. Counts the calls of all threads.
void fail_allocation(long nth, bool persistently);

// Called with every block that the core frees, before it is freed. Null at first.
extern void (*before_free)(void *block);
