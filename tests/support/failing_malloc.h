// Makes malloc and realloc fail on request, in the programs that CMake's vek_make_malloc_fail
// names.
#pragma once

#include <climits>

constexpr long NO_FAILURE = LONG_MAX;

// The calling process's nth allocation from now on (0 the next) fails, and with persistently all
// that follow. Counts all threads.
void fail_allocation(long nth, bool persistently);
