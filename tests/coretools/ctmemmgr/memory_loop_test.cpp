// Memory-loop debugging: which repeated operations are reported, and when a loop is given up.
#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/memory_loop.h"
#include "coretools/ctmemmgr/pools.h"
#include "tests/support/failing_malloc.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

std::vector<void *> leaked;
void *kept_for_a_pass = nullptr;
int pool = -1;
int pass = 0;
int callbacks = 0;

void use_blocks(int count) {
    for (int i = 0; i < count; i++) {
        rlsmem(getmem(40));
    }
}

void leave_nothing() {
    void *data = relocmem_xar(getmem(10), 200, 0);
    rlsmem(getmem_pool(pool));
    rlsmem(std::exchange(kept_for_a_pass, getmem(40)));
    rlsmem(data);
}

void leak_a_block() {
    void *data = getmem(24);
    leaked.push_back(getmem(40));
    rlsmem(data);
}

const struct {
    const char *name;
    void (*operation)();
    int passes, size, reports;
    std::string output; // its start; without a report all of it
} ROWS[] = {
    {"nothing is left", leave_nothing, 7, -1, 0, ""},
    {"a block each pass", leak_a_block, 6, -1, 2, "debug_memory_not_released: 40 bytes at "},
    {"a block each pass of the first loop", [] { pass < 3 ? leak_a_block() : use_blocks(2); }, 6,
     -1, 1, "debug_memory_not_released: 40 bytes at "},
    {"only blocks of 24 bytes", leak_a_block, 3, 24, 0, ""},
    {"a resized block", [] { leaked.push_back(relocmem_xar(getmem(8), 48, 0)); }, 3, -1, 1,
     "debug_memory_not_released: 48 bytes at "},
    {"a pool record", [] { leaked.push_back(getmem_pool(pool)); }, 3, -1, 1,
     "debug_memory_not_released: 50 bytes at "},
    {"passes differ", [] { use_blocks(pass + 1); }, 3, -1, 0,
     "Two previous loops had different numbers of memory allocations.\n"
     "Cancelling memory loop handling.  Try again.\n"},
    {"the third pass allocates more", [] { use_blocks(pass == 2 ? 3 : 2); }, 3, -1, 0,
     "debug_memory_loop_alloc: too many allocations. Cancelling memory loop.\n"},
};

TEST(MemoryLoop, ReportsWhatThePassesLeave) {
    pool = create_mem_pool("loop", 50);
    leaked = {getmem(1), getmem_pool(pool)}; // what a process makes once, and the area, is there
    set_debug_memory_func([] {
        callbacks++;
        use_blocks(1); // neither counted nor reported
    });
    for (const auto &row : ROWS) {
        const std::int64_t before = get_memory_statistics().num_blocks;
        callbacks = 0;
        set_debug_memory_loop_size(row.size);
        testing::internal::CaptureStdout();
        for (pass = 0; pass < row.passes; pass++) {
            debug_memory_loop();
            row.operation();
        }
        std::string output = testing::internal::GetCapturedStdout();
        output.resize(row.reports != 0 ? row.output.size() : output.size());
        EXPECT_EQ(output, row.output) << row.name;
        EXPECT_EQ(callbacks, row.reports) << row.name;
        const bool given_up = row.output.find("Cancelling") != std::string::npos;
        EXPECT_EQ(get_in_debug_memory_loop(), given_up ? 0 : 1) << row.name;
        debug_cancel_memory_loop();
        EXPECT_LE(get_memory_statistics().num_blocks, before + row.passes) << row.name;
    }
    set_debug_memory_func(nullptr);
    rlsmem(kept_for_a_pass);
    set_debug_memory_loop_size(MEMORY_LOOP_ALL_SIZES);
    std::for_each(leaked.begin(), leaked.end(), rlsmem);
}

TEST(MemoryLoop, ExhaustedMemoryEndsTheLoopNotTheOperation) {
    rlsmem(getmem(1)); // what a process makes once is there
    int failing = 0;
    do {
        failing++;
        debug_memory_loop();
        fail_allocation(failing, true);
        void *data = getmem(40);
        fail_allocation(NO_FAILURE, false);
        EXPECT_NE(data, nullptr);
        rlsmem(data);
    } while (get_in_debug_memory_loop() == 0);
    EXPECT_GT(failing, 2);
    debug_cancel_memory_loop();
}

} // namespace
