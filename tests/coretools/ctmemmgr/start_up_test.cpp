// The first request of a process, met by other calls on other threads. A program of its own: here
// the memory layer is not initialised before the test forks.
#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/memory_loop.h"
#include "coretools/ctmemmgr/pools.h"
#include "tests/support/child_process.h"
#include "tests/support/threads.h"

#include <atomic>

#include <gtest/gtest.h>

namespace {

// Lock and unlock read the pointer of the lock twice. A call that began before the first request
// made the lock then released what it had never locked, and the process ended with "unlock
// non-locked mutex".
TEST(StartUp, AnyCallMayMeetTheFirstRequest) {
    const struct {
        const char *name;
        void (*call)();
    } rows[] = {
        {"a look at the pools", [] { mem_pool_name(0); }},
        {"a look at the chain", [] { get_memory_statistics(); }},
        {"the end of a loop", [] { debug_cancel_memory_loop(); }},
    };
    for (const auto &row : rows) {
        for (int attempt = 0; attempt < 60; ++attempt) {
            const child_result child = run_in_child([&row] {
                std::atomic<bool> requested{false};
                run_on_threads(2, [&](int number) {
                    if (number == 1) {
                        rlsmem(getmem(1));
                        requested = true;
                    }
                    while (!requested) {
                        row.call();
                    }
                });
            });
            ASSERT_EQ(child.status, 0) << row.name << ", attempt " << attempt << "\n" << child.err;
        }
    }
}

} // namespace
