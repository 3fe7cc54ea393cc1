// General blocks: totals, fill patterns, damage, exhausted memory and allocation replay.
#include "coretools/ctmemmgr/alloc_replay.h"
#include "coretools/ctmemmgr/block_internal.h"
#include "coretools/ctmemmgr/memory_trap.h"
#include "coretools/ctmemmgr/pools_internal.h"
#include "coretools/ctmemmgr/zones.h"
#include "coretools/ctmisc/wlx_exit.h"
#include "tests/coretools/ctmemmgr/memory_test.h"

#include <cstring>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

using Blocks = MemoryTest;

TEST_F(Blocks, NothingIsNoBlock) {
    EXPECT_EQ(getmem(0), nullptr);
    EXPECT_EQ(rlsmem(nullptr), 0);
}

// The next block that the core frees: so many of its bytes are kept.
std::size_t watched_bytes = 0;
std::string freed;

// Compilers like to drop stores to memory that is about to be freed.
TEST_F(Blocks, CountAndAreOverwritten) {
    before_free = [](void *block) {
        freed.assign(static_cast<char *>(block), std::exchange(watched_bytes, 0));
    };
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

// A block of 807 MB has the bits of a pool tag in its size.
TEST_F(Blocks, NeverLookLikeAPoolRecord) {
    for (const int size : {0x3039, 0x303B0001, 0x303DFFFF, 0x181CFFFF, INT32_MAX}) {
        block_header block = {};
        set_block_size(&block, size);
        EXPECT_EQ(block_size(&block), size);
        EXPECT_EQ(pool_tag_of(data_of(&block)) % 2, 0) << size;
    }
}

// The middle one of three blocks is damaged, or a neighbour; a wild link is recognised by the check
// word that a 64-bit host keeps. Where the report returns, nothing has changed.
TEST_F(Blocks, ThatAreDamagedAreReportedAndNotTouched) {
    constexpr int WAYS = sizeof(void *) == 4 ? 3 : 5;
    void *blocks[] = {getmem(40), getmem(40), getmem(40)};
    block_header *const middle = header_of(blocks[1]);
    block_header **const places[] = {&trailer_of(middle)->next, &header_of(blocks[2])->prev,
                                     &trailer_of(header_of(blocks[0]))->next, &middle->prev,
                                     &trailer_of(middle)->next};
    const std::uintptr_t words[] = {0x41414141, 0, 0, 0x10000, 0x10000};
    set_wlx_exit_func([](int) {});
    for (int way = 0; way < WAYS; way++) {
        const auto wild = reinterpret_cast<block_header *>(words[way]);
        block_header *const link = std::exchange(*places[way], wild);
        testing::internal::CaptureStdout();
        EXPECT_EQ(rlsmem(blocks[1]), 0);
        EXPECT_EQ(relocmem_xar(blocks[1], 80, 0), nullptr);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "rlsmem:  memory chain is corrupt\nSerious internal error; cannot continue.\n"
                  "manage_memory:  memory chain is corrupt\n"
                  "Serious internal error; cannot continue.\n")
            << way;
        *places[way] = link;
    }
    set_wlx_exit_func(nullptr);
    std::for_each(std::begin(blocks), std::end(blocks), rlsmem);
}

constexpr char RECOVERY[] = " Serious error - out of virtual memory. Starting recovery attempt.\n";

TEST_F(Blocks, ExhaustedMemoryUnwindsAndLosesNothing) {
    static const int empty_pool = create_mem_pool("empty", 64);
    static const int zone = zone_open(1201);
    before = get_memory_statistics();
    void *const block = getmem(100);
    void *const record = getmem_pool(create_mem_pool("exhausted", 64));
    free_spare_areas();
    const struct {
        int nth; // allocation of the request fails, and all behind it
        void (*request)(void *data);
        void *data;
        const char *report;
    } rows[] = {
        {0, [](void *) { EXPECT_EQ(getmem_null(50), nullptr); }, block, ""},
        {0, [](void *) { EXPECT_EQ(getmem(INT32_MAX), nullptr); }, block, RECOVERY},
        {0, [](void *) { EXPECT_EQ(getmem_pool(empty_pool), nullptr); }, block, RECOVERY},
        {0, [](void *data) { EXPECT_EQ(relocmem_xar(data, 5000, 0), nullptr); }, block, RECOVERY},
        {0, [](void *data) { EXPECT_EQ(relocmem_xar(data, 5000, 0), nullptr); }, record, RECOVERY},
        {0, [](void *) { EXPECT_EQ(zone_getmem(zone, 8), nullptr); }, block, RECOVERY},
        {1, [](void *) { EXPECT_EQ(zone_getmem(zone, 8), nullptr); }, block, RECOVERY},
    };
    call_with_memory_trap([](void *) {}, nullptr); // makes the thread's stack of traps
    for (int i = 0; i < 4 * static_cast<int>(std::size(rows)); i++) {
        const auto &row = rows[i / 4];
        const bool trapped = i % 2 == 0;
        set_always_relocate(i / 2 % 2);
        std::memset(row.data, 3, 64);
        testing::internal::CaptureStdout();
        fail_allocation(row.nth, true);
        const bool returned =
            trapped ? call_with_memory_trap(row.request, row.data) : (row.request(row.data), true);
        fail_allocation(NO_FAILURE, false);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), row.report);
        EXPECT_EQ(returned, !trapped || *row.report == '\0');
        EXPECT_TRUE(all_are(row.data, 64, 3));
    }
    set_always_relocate(0);
    EXPECT_NE(zone_getmem(zone, 8), nullptr);
    zone_empty(zone);
    rlsmem(block);
    rlsmem(record);
}

// The spare areas of the pools took any released block of about their size, and kept it when malloc
// failed.
TEST_F(Blocks, GetTheSpareAreasOfPoolsBeforeTheyFail) {
    const int pool = create_mem_pool("spare", 1000);
    free_spare_areas();
    rlsmem(getmem(Stat_clump_size));
    EXPECT_FALSE(free_spare_areas());
    for (const std::string way : {"new", "resized in place", "moved"}) {
        SCOPED_TRACE(way);
        set_always_relocate(way == "moved" ? 1 : 0);
        void *const block = way == "new" ? nullptr : getmem(10);
        rlsmem(getmem_pool(pool)); // its area is spare now
        fail_allocation(0, false);
        void *const data = relocmem_xar(block, 5000, 0);
        fail_allocation(NO_FAILURE, false);
        EXPECT_NE(data, nullptr);
        EXPECT_FALSE(free_spare_areas());
        rlsmem(data);
    }
    set_always_relocate(0);
}

TEST_F(Blocks, ReplayReportsTheBlocksOfTheFile) {
    std::FILE *file = std::tmpfile();
    std::fputs("1 24\n3 99\n", file);
    std::rewind(file);
    for (const int level : {REPLAY_NUMBER_BLOCKS, REPLAY_REPORT_BLOCKS}) {
        testing::internal::CaptureStdout();
        set_memory_file_level(level, file);
        void *data[] = {getmem(23), getmem(24), getmem(25)};
        data[0] = relocmem_xar(data[0], 50, 1);
        EXPECT_EQ(memdebug_serial(data[0]), 3);
        EXPECT_EQ(trailer_of(header_of(data[0]))->mark & 1, 1u);
        set_memory_file_level(REPLAY_OFF, nullptr);
        const std::string output = testing::internal::GetCapturedStdout();
        const std::size_t report = level == REPLAY_REPORT_BLOCKS ? 0 : std::string::npos;
        EXPECT_EQ(output.find("memdebug_alloc: 24 bytes at "), report);
        const std::size_t warning = output.find("memdebug_alloc WARNING:  sizes have changed.");
        EXPECT_EQ(warning == std::string::npos, level == REPLAY_NUMBER_BLOCKS);
        EXPECT_LE(output.find("memdebug_alloc: 50 bytes at "), warning);
        std::for_each(std::begin(data), std::end(data), rlsmem);
    }
    std::fclose(file);
}

} // namespace
