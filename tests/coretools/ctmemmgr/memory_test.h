// What the tests of blocks, pools and zones share.
#pragma once

#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctmemmgr/getmem.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/threads.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include <gtest/gtest.h>

inline bool all_are(const void *data, std::size_t count, int value) {
    const auto *const first = static_cast<const unsigned char *>(data);
    return std::all_of(first, first + count, [value](int c) { return c == value; });
}

inline std::int64_t live_blocks() {
    return get_memory_statistics().num_blocks;
}

inline void use_locks(bool on) {
    thrThread::c_iActiveThreadsInUse = on ? 1 : 0;
    on ? EnableThreading() : DisableThreading();
}

// Every test takes the locks, so that one that stays held ends the process, and leaves the totals
// as they were.
class MemoryTest : public testing::Test {
  protected:
    void SetUp() override {
        rlsmem(getmem(1)); // the first request of a process also makes the size cache
        use_locks(true);
        before = get_memory_statistics();
    }

    void TearDown() override {
        before_free = nullptr;
        EXPECT_EQ(check_memory_chain(), CHAIN_IS_VALID);
        EXPECT_EQ(live_blocks(), before.num_blocks);
        EXPECT_EQ(get_memory_statistics().system_size, before.system_size);
        use_locks(false);
    }

    memory_statistics before = {};
};
