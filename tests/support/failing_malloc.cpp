#include "tests/support/failing_malloc.h"

#include <atomic>
#include <cstdlib>

extern "C" {
// What the core's malloc, realloc and free are renamed to.
void *core_malloc(std::size_t size);
void *core_realloc(void *block, std::size_t size);
void core_free(void *block);
}

void (*before_free)(void *block) = nullptr;

namespace {

std::atomic<long> left{NO_FAILURE};
std::atomic<bool> keeps_failing{false};

bool fails() {
    const long before = left--;
    return before == 0 || (before < 0 && keeps_failing);
}

} // namespace

void fail_allocation(long nth, bool persistently) {
    keeps_failing = persistently;
    left = nth;
}

void *core_malloc(std::size_t size) {
    return fails() ? nullptr : std::malloc(size);
}

void *core_realloc(void *block, std::size_t size) {
    return fails() ? nullptr : std::realloc(block, size);
}

void core_free(void *block) {
    if (before_free != nullptr) {
        before_free(block);
    }
    std::free(block);
}
