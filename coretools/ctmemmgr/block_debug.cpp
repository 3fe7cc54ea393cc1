// Debugging switches of the block allocator, and the list of released blocks.
#include "coretools/ctmemmgr/block_debug.h"

#include "basictk/baselib/inc/thrMutex.h"
#include "coretools/ctmemmgr/block_internal.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/har.h"
#include "coretools/ctmemmgr/memory_trap.h"
#include "coretools/ctmisc/lazy_mutex.h"

#include <atomic>
#include <cstdlib>

namespace {

std::atomic<int> static_dont_release_memory{0};
std::atomic<int> static_always_relocate{0};
std::atomic<int> stat_marking_mem{0};

constexpr int RELEASED_LIST_STEP = 100;
// Taken before the locks of the pools and of the chain: the list comes from the allocator.
constinit lazy_mutex released_list_lock{thrMutex_Create};
void **static_released_blocks_har = nullptr;

// True while this thread makes room in the list: what the list itself releases is then freed.
thread_local bool extending_list = false;

} // namespace

void set_dont_release_memory(int on) {
    static_dont_release_memory.store(on, std::memory_order_release);
}

void set_always_relocate(int on) {
    static_always_relocate.store(on, std::memory_order_relaxed);
}

void set_marking_mem_to_preserve(int on) {
    stat_marking_mem.store(on, std::memory_order_relaxed);
}

int marking_mem_to_preserve() {
    return stat_marking_mem.load(std::memory_order_relaxed);
}

bool keeps_released_blocks() {
    return static_dont_release_memory.load(std::memory_order_acquire) != 0 && !extending_list;
}

bool always_relocates() {
    return static_always_relocate.load(std::memory_order_relaxed) != 0;
}

void add_block_to_released_list(void *block, std::size_t whole_size) {
    void *slot = nullptr;
    {
        const lazy_mutex_guard guard(released_list_lock);
        extending_list = true;
        slot = append_to_bookkeeping(&static_released_blocks_har,
                                     static_cast<int>(sizeof(released_block)), RELEASED_LIST_STEP);
        extending_list = false;
        if (slot != nullptr) {
            *static_cast<released_block *>(slot) = {block, whole_size};
        }
    }
    if (slot == nullptr) {
        std::free(block);
    }
}

bool get_released_block(int index, released_block *entry) {
    const lazy_mutex_guard guard(released_list_lock);
    const void *kept = har_access(&static_released_blocks_har, index, nullptr, nullptr);
    if (kept != nullptr) {
        *entry = *static_cast<const released_block *>(kept);
    }
    return kept != nullptr;
}
