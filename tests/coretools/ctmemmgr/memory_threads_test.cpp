// Eight threads at once on blocks, pools, arrays of their own, formatted text, reports, recursive
// mutexes, traps and the debugging switches: nothing races, nothing is lost.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdarg>
#include <cstring>
#include <random>
#include <string>
#include <thread>

#include "basictk/baselib/inc/thrMutex.h"
#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/memory_loop.h"
#include "coretools/ctmemmgr/memory_trap.h"
#include "coretools/ctmemmgr/pools.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctmemmgr/zones.h"
#include "coretools/ctmisc/run_mode.h"
#include "coretools/ctwcfun/vek_vsprintf.h"
#include "tests/support/threads.h"

namespace {

constexpr int THREADS = 8;
constexpr int STEPS = 4000;
constexpr int ENGINE_BLOCKS = 5; // what the formatting engine keeps for each thread it served
constexpr int AREA_TENTH = 6500; // areas are made, fill up and empty all the time

std::string formatted(const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const char *text = vek_vsprintf(nullptr, format, arguments);
    va_end(arguments);
    return text == nullptr ? "" : text;
}

// What a thread does beside its blocks: count is guarded by the mutex.
void use_everything_else(int step, int **list, thrMutex *mutex, int *count) {
    ASSERT_NE(xar_append(list, 1, &step), nullptr);
    if (step % 16 != 0) {
        return;
    }
    EXPECT_EQ(formatted("%d of %-4s|%*d", step, "ab", 6, step),
              std::to_string(step) + " of ab  |" +
                  std::string(6 - std::to_string(step).size(), ' ') + std::to_string(step));
    dbg_print_info("threads", "step %d", step);
    thrMutex_Lock(mutex);
    thrMutex_Lock(mutex);
    ++*count;
    thrMutex_Unlock(mutex);
    thrMutex_Unlock(mutex);
    const auto outgrow = [](void *argument) {
        xar_extend(static_cast<int **>(argument), XAR_LIMIT_BYTES);
    };
    EXPECT_FALSE(call_with_memory_trap(outgrow, list));
    EXPECT_EQ((*list)[xar_count(list) - 1], step);
}

void use_memory(int seed, int pool, int zone, thrMutex *mutex, int *count) {
    std::mt19937 random(static_cast<unsigned>(seed));
    unsigned char *live[40] = {};
    int *list = xar_alloc_of<int>(0, 10);
    if (seed % 2 == 0) {
        pool = create_mem_pool(nullptr, AREA_TENTH);
    }
    for (int step = 0; step < STEPS; step++) {
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
        use_everything_else(step, &list, mutex, count);
        if (step % 16 == 0) {
            ASSERT_EQ(check_mem_pool(pool), 0);
        }
    }
    EXPECT_EQ(xar_count(&list), STEPS);
    xar_free(&list);
    EXPECT_EQ(check_memory_chain(), 0);
    for (unsigned char *data : live) {
        rlsmem(data);
    }
}

// In the second round everything is switched on, and loops start and end meanwhile.
TEST(MemoryThreads, TotalsReturnToTheStart) {
    const int pool = create_mem_pool("threads", AREA_TENTH);
    register_clump("threads", 312);
    rlsmem(getmem(1));
    const int zone = zone_open(4000);
    thrMutex *const mutex = thrMutex_Create_Recursive();
    set_run_mode(RUN_MODE_PFA_TRACE);
    for (const bool debugs : {false, true}) {
        const memory_statistics before = get_memory_statistics();
        std::atomic<int> running{THREADS};
        int count = 0;
        set_always_relocate(debugs ? 1 : 0);
        testing::internal::CaptureStdout();
        run_on_threads(THREADS + (debugs ? 1 : 0), [&](int i) {
            if (i < THREADS) {
                use_memory(i + 1, pool, zone, mutex, &count);
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
        EXPECT_EQ(count, THREADS * STEPS / 16);
        const memory_statistics after = get_memory_statistics();
        const int kept = after.num_blocks - before.num_blocks - THREADS * ENGINE_BLOCKS;
        EXPECT_GE(kept, 0);
        EXPECT_LE(kept, debugs ? 2 : 0); // the list of released blocks
        EXPECT_EQ(check_memory_chain(), 0);
    }
    set_run_mode(RUN_MODE_USER);
    zone_close(zone);
}

} // namespace
