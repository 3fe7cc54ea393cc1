// Pools: areas, slots, general pools and the look-up by size.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/pools_internal.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmisc/run_mode.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_malloc.h"

namespace {

std::int64_t live_blocks() {
    return get_memory_statistics().num_blocks;
}

TEST(Pools, AnAreaKeepsOneSlotInReserve) {
    const int pool = create_mem_pool("capacity", 300);
    const std::int64_t before = live_blocks();
    const int slots = (65536 - static_cast<int>(sizeof(area_header))) / (304 + 8);
    std::vector<void *> records;
    for (int i = 0; i < slots; i++) {
        EXPECT_EQ(live_blocks(), before + (i == 0 ? 0 : 1));
        records.push_back(getmem_pool(pool));
    }
    EXPECT_EQ(live_blocks(), before + 2);
    rlsmem(records[0]); // room in a full area is found again
    rlsmem(records.back());
    EXPECT_EQ(live_blocks(), before + 1);
    EXPECT_EQ(getmem_pool(pool), records[0]);
    EXPECT_EQ(check_mem_pool(pool), 0);
    records.pop_back();
    for (void *record : records) {
        rlsmem(record);
    }
    EXPECT_EQ(live_blocks(), before);
}

TEST(Pools, RandomRequestsKeepAreasAndFreeLists) {
    static constexpr int SIZES[] = {1, 40, 300, 2000, 15001, 32000, 65488};
    struct live_record {
        unsigned char *data;
        std::size_t pool;

        bool is_filled_with(int value) const {
            return std::all_of(data, data + SIZES[pool], [value](int c) { return c == value; });
        }
    };
    int pools[std::size(SIZES)];
    std::transform(std::begin(SIZES), std::end(SIZES), pools,
                   [](int size) { return create_mem_pool(nullptr, size); });
    const std::int64_t before = live_blocks();
    std::vector<live_record> live;
    std::mt19937 random(42);
    for (int step = 0; step < 8000; step++) {
        const std::size_t pool = random() % std::size(SIZES);
        if (random() % 3 != (step / 1000 % 2 == 0 ? 0 : 1) && step % 1000 < 900) {
            void *data = getmem_pool_xar(pools[pool], static_cast<int>(random() % 2));
            live.push_back({static_cast<unsigned char *>(data), pool});
            ASSERT_EQ(reinterpret_cast<std::uintptr_t>(data) % 8, 0u);
            ASSERT_TRUE(live.back().is_filled_with(0));
            std::memset(data, static_cast<int>(pool) + 1, static_cast<std::size_t>(SIZES[pool]));
        } else if (!live.empty()) {
            std::swap(live[random() % live.size()], live.back());
            ASSERT_TRUE(live.back().is_filled_with(static_cast<int>(live.back().pool) + 1));
            ASSERT_EQ(mempool_of_slot(live.back().data), pools[live.back().pool]);
            rlsmem(live.back().data);
            live.pop_back();
        }
        ASSERT_EQ(check_mem_pool(pools[pool]), 0) << step;
    }
    for (const live_record &record : live) {
        rlsmem(record.data);
    }
    EXPECT_EQ(live_blocks(), before);
}

TEST(Pools, GeneralPoolsServeTheirRoundedSize) {
    const int pool = register_clump("one", 1001);
    EXPECT_EQ(create_mem_pool("same size", 1008), pool + 1);
    EXPECT_EQ(register_clump("another name", 1008), pool);
    EXPECT_STREQ(mem_pool_name(pool), "one + another name");
    EXPECT_EQ(register_clump("a third one that does not fit", 1007), pool);
    EXPECT_STREQ(mem_pool_name(pool), "one + another name + a third o");
    void (*const switches[])(int) = {set_clump_mode_off, set_clump_mode_off_low, [](int) {}};
    for (void (*switch_pools_off)(int) : switches) {
        switch_pools_off(1);
        void *data = getmem(1002);
        switch_pools_off(0);
        EXPECT_EQ(mempool_of_slot(data), switch_pools_off == switches[2] ? pool : -1);
        rlsmem(data);
    }
    for (const int size : {1, 1000, 2043, 2049, 32761, 65536, INT32_MAX}) {
        EXPECT_EQ(find_non_id_clump(size), -1) << size;
    }
    set_automatic_clumps_on(1);
    const int automatic = find_non_id_clump(2043);
    EXPECT_STREQ(mem_pool_name(automatic), "");
    EXPECT_EQ(find_non_id_clump(2048), automatic);
    EXPECT_EQ(find_non_id_clump(2049), -1);
    set_automatic_clumps_on(0);
}

TEST(Pools, AResizedRecordLeavesItsPool) {
    const int own = create_mem_pool("own", 100);
    const int general = register_clump("general", 1208);
    for (const int new_size : {9000, 5, 1208, 0}) {
        void *record = getmem_pool_xar(own, 1);
        std::memset(record, 9, 100);
        auto *moved = static_cast<unsigned char *>(relocmem_xar(record, new_size, 0));
        ASSERT_NE(moved, nullptr);
        EXPECT_EQ(mempool_of_slot(moved), new_size == 1208 ? general : -1);
        for (int i = 0; i < new_size; i++) {
            ASSERT_EQ(moved[i], i < 100 ? 9 : 0);
        }
        rlsmem(moved);
        EXPECT_EQ(clump_table[own].first_area, nullptr);
    }
}

TEST(Pools, ASecondReleaseIsReportedAndChangesNothing) {
    const int pool = create_mem_pool("twice", 64);
    void *records[] = {getmem_pool(pool), getmem_pool(pool)};
    rlsmem(records[0]);
    EXPECT_EQ(rlsmem_clump(records[0]), 1);
    EXPECT_EQ(check_mem_pool(pool), 0);
    const child_result child = run_in_child([&records] {
        set_verbose_mode(1);
        set_dbg_err_crash(1);
        set_run_mode(RUN_MODE_PFA_TRACE);
        rlsmem(records[0]);
    });
    EXPECT_EQ(child.status, 2);
    EXPECT_EQ(child.out.find("rlsmem_clump:   release of already released object\n"), 0u);
    rlsmem(records[1]);
}

TEST(Pools, ExhaustedMemoryKeepsTheRecord) {
    void *record = getmem_pool(create_mem_pool("exhausted", 64));
    const int empty = create_mem_pool("empty", 64);
    void *areas[20];
    for (void *&area : areas) {
        area = getmem(Stat_clump_size); // uses up the memory of former areas
    }
    EnableThreading(); // a lock that stayed held would end the process
    testing::internal::CaptureStdout();
    fail_allocation(0, true);
    EXPECT_EQ(getmem_pool(empty), nullptr);
    EXPECT_EQ(relocmem_xar(record, 200, 0), nullptr);
    fail_allocation(NO_FAILURE, false);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(check_mem_pool(mempool_of_slot(record)), 0);
    rlsmem(record);
    DisableThreading();
    std::for_each(std::begin(areas), std::end(areas), rlsmem);
}

void use_a_damaged_record() {
    void *record = getmem_pool(create_mem_pool("damaged", 16));
    std::memset(static_cast<char *>(record) - 8, 0x55, 2); // the slot's offset
    static_cast<void>(relocmem_xar(record, 8, 0));
}

TEST(PoolMisuse, EndsTheProcessOrIsRefused) {
    alignas(8) static char foreign[4096];
    std::memcpy(foreign + 2046, &TAG_IN_USE, sizeof TAG_IN_USE);
    constexpr int TOO_LARGE = 65536 - static_cast<int>(sizeof(area_header)) - 7;
    void (*const misuses[])() = {
        use_a_damaged_record,
        [] { create_mem_pool("bad", 0); },
        [] { create_mem_pool("bad", INT32_MAX); },
        [] { register_clump("bad", TOO_LARGE); },
        [] { find_non_id_clump(-1); },
        [] { rlsmem(foreign + 2048); },
    };
    for (void (*misuse)() : misuses) {
        EXPECT_EQ(run_in_child(misuse).status, 2);
    }
    for (const int pool : {-1, -8, 499, 500, 1 << 30}) {
        EXPECT_EQ(getmem_pool(pool), nullptr);
    }
}

TEST(PoolMisuse, AFullTable) {
    for (const int mode : {RUN_MODE_USER, RUN_MODE_PFA_TRACE}) {
        const child_result child = run_in_child([mode] {
            while (getmem_pool(499) == nullptr) {
                create_mem_pool(nullptr, 8);
            }
            set_run_mode(mode);
            EXPECT_EQ(create_mem_pool(nullptr, 8), -1);
        });
        EXPECT_EQ(child.status, mode == RUN_MODE_USER ? 0 : 2) << child.out;
    }
}

} // namespace
