// General blocks: totals, fill patterns, damage, exhausted memory, allocation replay and memory
// loops.
#include "coretools/ctmemmgr/alloc_replay.h"
#include "coretools/ctmemmgr/block_internal.h"
#include "coretools/ctmemmgr/memory_loop.h"
#include "coretools/ctmemmgr/memory_trap.h"
#include "coretools/ctmemmgr/pools_internal.h"
#include "coretools/ctmemmgr/zones.h"
#include "coretools/ctmisc/wlx_exit.h"
#include "tests/coretools/ctmemmgr/memory_test.h"

#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

using Blocks = MemoryTest;

// The next block that the core frees: so many of its bytes are kept.
std::size_t watched_bytes = 0;
std::string freed;

// Compilers like to drop stores to memory that is about to be freed.
TEST_F(Blocks, TotalsAndFillPatterns) {
    before_free = [](void *block) {
        freed.assign(static_cast<char *>(block), std::exchange(watched_bytes, 0));
    };
    EXPECT_EQ(getmem(0), nullptr);
    for (const int size : {1, 5, 8, 9, 3976, 3977, 3984, 50001}) {
        const std::size_t rounded = static_cast<std::size_t>(size + 7) / 8 * 8;
        const std::size_t whole = rounded + BLOCK_OVERHEAD;
        void *data = getmem(size);
        const memory_statistics now = get_memory_statistics();
        EXPECT_EQ(now.application_size, before.application_size + size);
        EXPECT_EQ(now.system_size, before.system_size + static_cast<std::int64_t>(whole));
        watched_bytes = whole;
        rlsmem(data);
        std::string overwritten(whole, '\xFF');
        if (rounded >= 3984) {
            overwritten.replace(1000, whole - 2000, whole - 2000, '\0');
        }
        EXPECT_TRUE(freed == overwritten) << size;
    }
}

// The middle one of three blocks is damaged, or a neighbour. Where the report returns, nothing has
// changed.
TEST_F(Blocks, DamageIsReportedAndNothingChanges) {
    void *blocks[] = {getmem(40), getmem(40), getmem(40)};
    block_header *const middle = header_of(blocks[1]);
    // Without the check word of a 64-bit host an aligned address is followed.
    constexpr std::uintptr_t NO_BLOCK = sizeof(void *) == 4 ? 0x10001 : 0x10000;
    set_wlx_exit_func([](int) {});
    const std::pair<const char *, block_header **> links[] = {
        {"next of the one before it", &trailer_of(header_of(blocks[0]))->next},
        {"prev", &middle->prev},
        {"next", &trailer_of(middle)->next},
        {"prev of the one behind it", &header_of(blocks[2])->prev},
    };
    for (const auto &[name, link] : links) {
        for (const std::uintptr_t wild : {std::uintptr_t{0}, NO_BLOCK}) {
            block_header *const right =
                std::exchange(*link, reinterpret_cast<block_header *>(wild));
            SCOPED_TRACE(name);
            testing::internal::CaptureStdout();
            EXPECT_EQ(rlsmem(blocks[1]), 0);
            EXPECT_EQ(relocmem_xar(blocks[1], 80, 0), nullptr);
            EXPECT_EQ(testing::internal::GetCapturedStdout(),
                      "rlsmem:  memory chain is corrupt\nSerious internal error; cannot continue.\n"
                      "manage_memory:  memory chain is corrupt\n"
                      "Serious internal error; cannot continue.\n");
            *link = right;
        }
    }
    trailer_of(header_of(blocks[2]))->next = middle; // the last of the chain
    EXPECT_EQ(getmem(8), nullptr);
    trailer_of(header_of(blocks[2]))->next = nullptr;
    set_wlx_exit_func(nullptr);
    std::for_each(std::begin(blocks), std::end(blocks), rlsmem);
}

constexpr char RECOVERY[] = " Serious error - out of virtual memory. Starting recovery attempt.\n";

// Each request runs without a trap frame, where it returns, and under one, where the trap ends it.
TEST_F(Blocks, ExhaustedMemoryUnwindsAndLosesNothing) {
    static const int empty_pool = create_mem_pool("empty", 64);
    static const int zone = zone_open(1201);
    before = get_memory_statistics();
    static void *const block = getmem(100);
    static void *const record = getmem_pool(create_mem_pool("exhausted", 64));
    const struct {
        const char *name;
        int nth; // allocation of the request fails, and all behind it
        void *(*request)();
        const char *report;
    } rows[] = {
        {"silent", 0, [] { return getmem_null(50); }, ""},
        {"large", 0, [] { return getmem(INT32_MAX); }, RECOVERY},
        {"area", 0, [] { return getmem_pool(empty_pool); }, RECOVERY},
        {"resize", 0, [] { return relocmem_xar(block, 5000, 0); }, RECOVERY},
        {"record", 0, [] { return relocmem_xar(record, 5000, 0); }, RECOVERY},
        {"chunk", 0, [] { return zone_getmem(zone, 8); }, RECOVERY},
        {"list of chunks", 1, [] { return zone_getmem(zone, 8); }, RECOVERY},
    };
    call_with_memory_trap([] {}); // makes the thread's stack of traps
    free_spare_areas();
    std::memset(block, 3, 100);
    std::memset(record, 3, 64);
    for (const auto &row : rows) {
        for (const bool relocates : {false, true}) {
            SCOPED_TRACE(row.name);
            set_always_relocate(relocates ? 1 : 0);
            testing::internal::CaptureStdout();
            fail_allocation(row.nth, true);
            EXPECT_EQ(row.request(), nullptr);
            const bool returned = call_with_memory_trap(row.request);
            fail_allocation(NO_FAILURE, false);
            EXPECT_EQ(testing::internal::GetCapturedStdout(), std::string(row.report) + row.report);
            EXPECT_EQ(returned, *row.report == '\0');
            EXPECT_TRUE(all_are(block, 100, 3));
            EXPECT_TRUE(all_are(record, 64, 3));
        }
    }
    set_always_relocate(0);
    EXPECT_NE(zone_getmem(zone, 8), nullptr);
    zone_empty(zone);
    rlsmem(block);
    rlsmem(record);
}

// The spare areas of the pools took any released block of about their size, and kept it when malloc
// failed.
TEST_F(Blocks, SpareAreasAreUsedBeforeFailure) {
    const int pool = create_mem_pool("spare", 1000);
    free_spare_areas();
    rlsmem(getmem(Stat_clump_size));
    EXPECT_FALSE(free_spare_areas());
    for (void *const block : {static_cast<void *>(nullptr), getmem(10)}) {
        rlsmem(getmem_pool(pool)); // its area is spare now
        fail_allocation(0, false);
        void *const data = relocmem_xar(block, 5000, 0);
        fail_allocation(NO_FAILURE, false);
        EXPECT_NE(data, nullptr) << "in place of " << block;
        EXPECT_FALSE(free_spare_areas());
        rlsmem(data);
    }
}

TEST_F(Blocks, ReplayReportsTheBlocksOfTheFile) {
    std::FILE *file = std::tmpfile();
    std::fputs("1 24\n3 99\n", file);
    std::rewind(file);
    testing::internal::CaptureStdout();
    set_memory_file_level(REPLAY_REPORT_BLOCKS, file);
    void *data[] = {getmem(23), getmem(24), relocmem_xar(getmem(25), 50, 1)};
    EXPECT_EQ(memdebug_serial(data[2]), 3);
    EXPECT_EQ(trailer_of(header_of(data[2]))->mark & 1, 1u);
    set_memory_file_level(REPLAY_OFF, nullptr);
    char report[300];
    std::snprintf(report, sizeof report,
                  "memdebug_alloc: 24 bytes at %lx won't get released.\n"
                  "memdebug_alloc: 50 bytes at %lx won't get released.\n"
                  "memdebug_alloc WARNING:  sizes have changed. Memory loop is NOT VALID!!!\n",
                  reinterpret_cast<unsigned long>(data[1]),
                  reinterpret_cast<unsigned long>(data[2]));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), report);
    std::for_each(std::begin(data), std::end(data), rlsmem);
    std::fclose(file);
}

std::vector<void *> leaked;
void *kept_for_a_pass = nullptr;
int pass = 0;
int callbacks = 0;

void use_blocks(int count) {
    for (int i = 0; i < count; i++) {
        rlsmem(getmem(40));
    }
}

void leak_a_block() {
    void *data = getmem(24);
    leaked.push_back(getmem(40));
    rlsmem(data);
}

TEST_F(Blocks, LoopReportsWhatEveryPassLeaves) {
    static const int pool = create_mem_pool("loop", 50);
    const struct {
        const char *name;
        void (*operation)();
        int passes, size, reports;
        std::string output; // its start
    } rows[] = {
        {"a block of the pass before", [] { rlsmem(std::exchange(kept_for_a_pass, getmem(40))); },
         7, -1, 0, ""},
        {"a block", leak_a_block, 6, -1, 2, "debug_memory_not_released: 40 bytes at "},
        {"none of 24 bytes", leak_a_block, 3, 24, 0, ""},
        {"a pool record", [] { leaked.push_back(getmem_pool(pool)); }, 3, -1, 1,
         "debug_memory_not_released: 50 bytes at "},
        {"passes differ", [] { use_blocks(pass + 1); }, 3, -1, 0,
         "Two previous loops had different numbers of memory allocations.\n"
         "Cancelling memory loop handling.  Try again.\n"},
        {"the third pass allocates more", [] { use_blocks(pass == 2 ? 3 : 2); }, 3, -1, 0,
         "debug_memory_loop_alloc: too many allocations. Cancelling memory loop.\n"},
    };
    leaked = {getmem_pool(pool)}; // its area is there
    set_debug_memory_func([] {
        callbacks++;
        use_blocks(1); // neither counted nor reported
    });
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        callbacks = 0;
        set_debug_memory_loop_size(row.size);
        testing::internal::CaptureStdout();
        for (pass = 0; pass < row.passes; pass++) {
            debug_memory_loop();
            row.operation();
        }
        const std::string output = testing::internal::GetCapturedStdout();
        EXPECT_EQ(output.substr(0, row.output.size()), row.output);
        EXPECT_EQ(callbacks, row.reports);
        const bool given_up = output.find("Cancelling") != std::string::npos;
        EXPECT_EQ(get_in_debug_memory_loop(), given_up ? 0 : 1);
        debug_cancel_memory_loop();
    }
    set_debug_memory_func(nullptr);
    set_debug_memory_loop_size(MEMORY_LOOP_ALL_SIZES);
    rlsmem(kept_for_a_pass);
    std::for_each(leaked.begin(), leaked.end(), rlsmem);
}

} // namespace
