// Eight threads at once on blocks, pools and the debugging switches: nothing races, nothing is
// lost.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

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
    if (seed % 2 == 0) {
        pool = create_mem_pool(nullptr, 600);
    }
    std::vector<unsigned char *> live;
    for (int step = 0; step < 4000; step++) {
        const int size = static_cast<int>(random() % 700 + 1);
        void *fresh = nullptr;
        switch (random() % 6) {
        case 0:
        case 1:
            fresh = getmem(size);
            break;
        case 2:
            fresh = getmem_pool(pool);
            break;
        case 3:
            if (!live.empty()) {
                fresh = relocmem_xar(live.back(), size, 0);
                live.pop_back();
            }
            break;
        case 4:
            std::memset(zone_getmem(zone, 16), 1, 16);
            break;
        default:
            for (int i = 0; i < 3 && !live.empty(); i++) {
                std::swap(live[random() % live.size()], live.back());
                ASSERT_EQ(live.back()[0], seed);
                rlsmem(live.back());
                live.pop_back();
            }
        }
        if (fresh != nullptr) {
            live.push_back(static_cast<unsigned char *>(fresh));
            live.back()[0] = static_cast<unsigned char>(seed);
        }
        if (step % 500 == 0) {
            ASSERT_EQ(check_memory_chain(), 0);
            ASSERT_EQ(check_mem_pool(pool), 0);
        }
    }
    for (unsigned char *data : live) {
        rlsmem(data);
    }
}

TEST(MemoryThreads, TotalsReturnToTheStart) {
    const int pool = create_mem_pool("threads", 600);
    register_clump("threads", 312);
    rlsmem(getmem(1));
    const int zone = zone_open(4000);
    const memory_statistics before = get_memory_statistics();
    run_on_threads(THREADS, [&](int i) { use_memory(i + 1, pool, zone); });
    zone_empty(zone);
    const memory_statistics after = get_memory_statistics();
    EXPECT_EQ(after.num_blocks, before.num_blocks);
    EXPECT_EQ(after.application_size, before.application_size);
    EXPECT_EQ(after.system_size, before.system_size);

    // The same with everything switched on, and loops started and ended meanwhile.
    set_always_relocate(1);
    std::atomic<int> running{THREADS};
    testing::internal::CaptureStdout();
    run_on_threads(THREADS + 1, [&](int i) {
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
    EXPECT_EQ(check_memory_chain(), 0);
    EXPECT_EQ(check_mem_pool(pool), 0);
    zone_close(zone);
}

} // namespace
