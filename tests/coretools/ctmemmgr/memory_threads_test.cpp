// Eight threads at once on blocks, pools and the debugging switches: nothing races, nothing is
// lost.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <random>
#include <thread>

#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/memory_loop.h"
#include "coretools/ctmemmgr/pools.h"
#include "coretools/ctmemmgr/zones.h"
#include "tests/support/threads.h"

namespace {

constexpr int THREADS = 8;

void use_memory(int seed, int pool, int zone) {
    std::mt19937 random(static_cast<unsigned>(seed));
    unsigned char *live[40] = {};
    if (seed % 2 == 0) {
        pool = create_mem_pool(nullptr, 600);
    }
    for (int step = 0; step < 4000; step++) {
        const int size = static_cast<int>(random() % 600 + 1);
        unsigned char *&data = live[random() % std::size(live)];
        ASSERT_TRUE(data == nullptr || data[0] == seed);
        if (random() % 2 == 0) {
            data = static_cast<unsigned char *>(relocmem_xar(data, size, 0));
        } else {
            rlsmem(data);
            data = static_cast<unsigned char *>(random() % 2 ? getmem_pool(pool) : getmem(size));
        }
        data[0] = static_cast<unsigned char>(seed);
        std::memset(zone_getmem(zone, 16), 1, 16);
    }
    EXPECT_EQ(check_memory_chain(), 0);
    EXPECT_EQ(check_mem_pool(pool), 0);
    for (unsigned char *data : live) {
        rlsmem(data);
    }
}

// In the second round everything is switched on, and loops start and end meanwhile.
TEST(MemoryThreads, TotalsReturnToTheStart) {
    const int pool = create_mem_pool("threads", 600);
    register_clump("threads", 312);
    rlsmem(getmem(1));
    const int zone = zone_open(4000);
    for (const bool debugs : {false, true}) {
        const memory_statistics before = get_memory_statistics();
        std::atomic<int> running{THREADS};
        set_always_relocate(debugs ? 1 : 0);
        testing::internal::CaptureStdout();
        run_on_threads(THREADS + (debugs ? 1 : 0), [&](int i) {
            if (i < THREADS) {
                use_memory(i + 1, pool, zone);
                running--;
            }
            while (i == THREADS && running > 0) {
                debug_memory_loop();
                set_dont_release_memory(1);
                std::this_thread::yield();
                set_dont_release_memory(0);
                debug_cancel_memory_loop();
            }
        });
        testing::internal::GetCapturedStdout();
        set_always_relocate(0);
        zone_empty(zone);
        const memory_statistics after = get_memory_statistics();
        EXPECT_LE(after.num_blocks, before.num_blocks + (debugs ? 2 : 0)); // the list of blocks
        EXPECT_TRUE(debugs || after.system_size == before.system_size);
        EXPECT_EQ(check_memory_chain(), 0);
    }
    zone_close(zone);
}

} // namespace
