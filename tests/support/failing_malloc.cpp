// Makes malloc and realloc fail on request.
#include "tests/support/failing_malloc.h"

#include <atomic>
#include <cstddef>

static std::atomic<long> left{NO_FAILURE};
static std::atomic<bool> keeps_failing{false};

extern "C" {
void *__real_malloc(std::size_t size);
void *__real_realloc(void *block, std::size_t size);
void *__wrap_malloc(std::size_t size);
void *__wrap_realloc(void *block, std::size_t size);
}

void fail_allocation(long nth, bool persistently) {
    keeps_failing = persistently;
    left = nth;
}

static bool fails() {
    const long before = left--;
    return before == 0 || (before < 0 && keeps_failing);
}

void *__wrap_malloc(std::size_t size) {
    return fails() ? nullptr : __real_malloc(size);
}

void *__wrap_realloc(void *block, std::size_t size) {
    return fails() ? nullptr : __real_realloc(block, size);
}
