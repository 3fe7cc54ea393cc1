// Memory-loop debugging: which repeated operations are reported, and when a loop is given up.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/memory_loop.h"
#include "coretools/ctmemmgr/pools.h"
#include "coretools/ctmemmgr/xar.h"
#include "tests/support/failing_malloc.h"

namespace {

std::vector<void *> leaked;
int loop_pool = -1;
int pass_number = 0;
int callbacks = 0;

void leak(void *data) {
    leaked.push_back(data);
}

void *fresh_record() {
    return getmem_pool(loop_pool);
}

void release_all() {
    void *data[3] = {getmem(10), fresh_record(), getmem(3000)};
    data[0] = relocmem_xar(data[0], 200, 0);
    for (void *block : data) {
        rlsmem(block);
    }
}

void leak_a_block() {
    void *data = getmem(24);
    leak(getmem(40));
    rlsmem(data);
}

void leak_a_resized_block() {
    leak(relocmem_xar(getmem(8), 40, 0));
}

void leak_a_record() {
    leak(fresh_record());
    rlsmem(getmem(40));
}

void release_in_the_next_pass() {
    static void *kept = nullptr;
    rlsmem(kept);
    kept = pass_number < 2 ? getmem(40) : nullptr;
}

void grow_each_pass() {
    for (int i = 0; i <= pass_number; i++) {
        rlsmem(getmem(40));
    }
}

void allocate_more_in_the_third() {
    for (int i = 0; i < (pass_number == 2 ? 3 : 2); i++) {
        rlsmem(getmem(40));
    }
}

void leak_switched() {
    set_force_ext_no(1);
    set_force_ignore_reloc_cnt(1);
    leak_a_block();
    EXPECT_EQ(get_force_ext_no() + get_force_ignore_reloc_cnt(), 2);
    set_force_ext_no(0);
    set_force_ignore_reloc_cnt(0);
}

std::string run_loop(void (*operation)(), int passes) {
    testing::internal::CaptureStdout();
    callbacks = 0;
    for (pass_number = 0; pass_number < passes; pass_number++) {
        debug_memory_loop();
        operation();
    }
    return testing::internal::GetCapturedStdout();
}

int count_of(const std::string &text, const std::string &part) {
    int count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        count++;
    }
    return count;
}

class MemoryLoop : public testing::Test {
  protected:
    void SetUp() override {
        if (loop_pool < 0) {
            loop_pool = create_mem_pool("loop", 50);
        }
        pinned = fresh_record();         // areas do not come and go
        for (const int value : {1, 0}) { // the thread's values are blocks that stay
            set_force_ext_no(value);
            set_force_ignore_reloc_cnt(value);
        }
        before = get_memory_statistics();
    }

    void TearDown() override {
        debug_cancel_memory_loop();
        set_debug_memory_loop_size(MEMORY_LOOP_ALL_SIZES);
        set_debug_memory_func(nullptr);
        EXPECT_EQ(get_in_debug_memory_loop(), 0);
        for (void *data : leaked) {
            rlsmem(data);
        }
        leaked.clear();
        EXPECT_EQ(check_memory_chain(), 0);
        EXPECT_EQ(get_memory_statistics().num_blocks, before.num_blocks);
        rlsmem(pinned);
    }

    void *pinned = nullptr;
    memory_statistics before = {};
};

TEST_F(MemoryLoop, ReportsWhatEachPassLeaves) {
    constexpr char REPORT[] = "debug_memory_not_released: ";
    constexpr char DIFFER[] = "Two previous loops had different numbers of memory allocations.\n"
                              "Cancelling memory loop handling.  Try again.\n";
    constexpr char TOO_MANY[] = "debug_memory_loop_alloc: too many allocations."
                                " Cancelling memory loop.\n";
    const struct {
        const char *name;
        void (*operation)();
        int passes;
        int size;
        int reports;
        const char *message; // the first line, null for any
        int still_running;
    } rows[] = {
        {"nothing left", release_all, 7, -1, 0, "", 1},
        {"block", leak_a_block, 3, -1, 1, nullptr, 1},
        {"block, not yet", leak_a_block, 2, -1, 0, "", 1},
        {"block, recorded again", leak_a_block, 6, -1, 2, nullptr, 1},
        {"resized", leak_a_resized_block, 3, -1, 1, nullptr, 1},
        {"record", leak_a_record, 3, -1, 1, nullptr, 1},
        {"released one pass later", release_in_the_next_pass, 3, -1, 0, "", 1},
        {"size that leaks", leak_a_block, 3, 40, 1, nullptr, 1},
        {"other size", leak_a_block, 3, 24, 0, "", 1},
        {"array switches", leak_switched, 3, -1, 1, nullptr, 1},
        {"unequal passes", grow_each_pass, 3, -1, 0, DIFFER, 1}, // the third boundary cancels
        {"longer third pass", allocate_more_in_the_third, 3, -1, 0, TOO_MANY, 0},
    };
    for (const auto &row : rows) {
        set_debug_memory_loop_size(row.size);
        const std::string output = run_loop(row.operation, row.passes);
        EXPECT_EQ(count_of(output, REPORT), row.reports) << row.name << ": " << output;
        if (row.message != nullptr) {
            EXPECT_EQ(output, row.message) << row.name;
        }
        EXPECT_EQ(get_in_debug_memory_loop(), row.message == DIFFER ? 0 : row.still_running)
            << row.name;
        debug_cancel_memory_loop();
    }
}

TEST_F(MemoryLoop, CallsBackWithTheLoopSuspended) {
    set_debug_memory_func([] {
        callbacks++;
        EXPECT_EQ(get_in_debug_memory_loop(), 0);
        rlsmem(getmem(40)); // neither counted nor reported
    });
    char expected[100];
    const std::string output = run_loop(leak_a_block, 3);
    std::snprintf(expected, sizeof expected,
                  "debug_memory_not_released: 40 bytes at %lx won't get released.\n",
                  reinterpret_cast<unsigned long>(leaked.back()));
    EXPECT_EQ(output, expected);
    EXPECT_EQ(callbacks, 1);
    EXPECT_EQ(get_in_debug_memory_loop(), 1);
}

TEST_F(MemoryLoop, ExhaustedMemoryEndsTheLoopNotTheOperation) {
    int failing = 0;
    do {
        failing++;
        testing::internal::CaptureStdout();
        debug_memory_loop();
        fail_allocation(failing, true);
        void *data = getmem(40);
        fail_allocation(NO_FAILURE, false);
        testing::internal::GetCapturedStdout();
        ASSERT_NE(data, nullptr);
        rlsmem(data);
        EXPECT_EQ(check_memory_chain(), 0);
    } while (get_in_debug_memory_loop() == 0);
    EXPECT_GT(failing, 2);
    debug_cancel_memory_loop();
    before.num_blocks = get_memory_statistics().num_blocks; // half an array may stay behind
}

} // namespace
