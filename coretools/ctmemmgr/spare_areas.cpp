// Spare areas: released pool areas that wait for the next request for one.
#include "coretools/ctmemmgr/pools_internal.h"

#include <atomic>
#include <cstdlib>

namespace {

// 1 MiB in all. A pool that shrinks and grows again takes its areas from here; the C library would
// give them back to the system, which then maps them in again page by page.
constexpr int SPARE_AREAS = 16;
std::atomic<void *> spare_areas[SPARE_AREAS];

} // namespace

bool keep_spare_area(void *block) {
    for (std::atomic<void *> &place : spare_areas) {
        void *empty = nullptr;
        if (place.compare_exchange_strong(empty, block, std::memory_order_acq_rel)) {
            return true;
        }
    }
    return false;
}

void *take_spare_area() {
    for (std::atomic<void *> &place : spare_areas) {
        if (place.load(std::memory_order_relaxed) != nullptr) {
            if (void *const block = place.exchange(nullptr, std::memory_order_acq_rel)) {
                return block;
            }
        }
    }
    return nullptr;
}

bool free_spare_areas() {
    bool freed = false;
    while (void *const block = take_spare_area()) {
        std::free(block);
        freed = true;
    }
    return freed;
}
