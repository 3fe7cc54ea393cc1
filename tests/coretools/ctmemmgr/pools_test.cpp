// Pools: areas, slots, general pools and the look-up by size.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "basictk/baselib/inc/thrThread.h"
#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/memory_trap.h"
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
    for (int i = 0; i < slots - 1; i++) {
        records.push_back(getmem_pool(pool));
    }
    EXPECT_EQ(live_blocks(), before + 1);
    records.push_back(getmem_pool(pool));
    EXPECT_EQ(live_blocks(), before + 2);
    // Room in a full area is found again; an area without records goes back.
    rlsmem(records[0]);
    EXPECT_EQ(check_mem_pool(pool), 0);
    EXPECT_EQ(rlsmem_clump(records.back()), 1);
    EXPECT_EQ(live_blocks(), before + 1);
    records[0] = getmem_pool(pool);
    EXPECT_EQ(live_blocks(), before + 1);
    records.pop_back();
    for (void *record : records) {
        rlsmem(record);
    }
    EXPECT_EQ(live_blocks(), before);
    EXPECT_EQ(check_mem_pool(pool), 0);
}

TEST(Pools, RandomRequestsKeepAreasAndFreeLists) {
    struct live_record {
        unsigned char *data;
        int pool;
        unsigned char pattern;
    };
    constexpr int SIZES[] = {1, 8, 300, 2000, 15001, 32000, 65496};
    std::vector<int> pools;
    for (const int size : SIZES) {
        pools.push_back(create_mem_pool(nullptr, size));
    }
    const auto is_filled = [&](const live_record &record, unsigned char value) {
        const auto size = static_cast<std::size_t>(SIZES[record.pool - pools[0]]);
        return std::all_of(record.data, record.data + size,
                           [value](unsigned char c) { return c == value; });
    };
    const memory_statistics before = get_memory_statistics();
    std::vector<live_record> live;
    std::mt19937 random(42);
    for (int step = 0; step < 8000; step++) {
        const bool grows = step / 1000 % 2 == 0 ? random() % 3 != 0 : random() % 3 == 0;
        if (grows || live.empty()) {
            const auto which = random() % std::size(SIZES);
            live_record record = {static_cast<unsigned char *>(getmem_pool_xar(
                                      pools[which], static_cast<int>(random() % 2))),
                                  pools[which], static_cast<unsigned char>(random() % 255)};
            ASSERT_EQ(reinterpret_cast<std::uintptr_t>(record.data) % 8, 0u);
            ASSERT_TRUE(is_filled(record, 0));
            std::memset(record.data, record.pattern, static_cast<std::size_t>(SIZES[which]));
            live.push_back(record);
        } else {
            std::swap(live[random() % live.size()], live.back());
            ASSERT_TRUE(is_filled(live.back(), live.back().pattern));
            ASSERT_EQ(mempool_of_slot(live.back().data), live.back().pool);
            rlsmem(live.back().data);
            live.pop_back();
        }
        ASSERT_EQ(check_mem_pool(pools[random() % std::size(SIZES)]), 0) << step;
    }
    EXPECT_EQ(check_memory_chain(), 0);
    for (const live_record &record : live) {
        rlsmem(record.data);
    }
    EXPECT_EQ(get_memory_statistics().system_size, before.system_size);
}

TEST(Pools, GeneralPoolsServeTheirRoundedSize) {
    const int pool = register_clump("one", 1001);
    EXPECT_EQ(create_mem_pool("same size", 1008), pool + 1);
    EXPECT_EQ(register_clump("another name", 1008), pool);
    EXPECT_STREQ(mem_pool_name(pool), "one + another name");
    register_clump("a third one that does not fit", 1007);
    EXPECT_STREQ(mem_pool_name(pool), "one + another name + a third o");
    EXPECT_EQ(register_clump("z", 1003), pool);
    EXPECT_EQ(std::strlen(mem_pool_name(pool)), 30u);
    EXPECT_EQ(find_non_id_clump(1000), -1);
    void *from_pool = getmem(1002);
    EXPECT_EQ(mempool_of_slot(from_pool), pool);
    void (*const switches[])(int) = {set_clump_mode_off, set_clump_mode_off_low};
    for (void (*switch_pools_off)(int) : switches) {
        switch_pools_off(1);
        void *general = getmem(1002);
        switch_pools_off(0);
        EXPECT_EQ(mempool_of_slot(general), -1);
        rlsmem(general);
    }
    for (int twice = 0; twice < 2; twice++) { // searched, then from the cache
        EXPECT_EQ(find_non_id_clump(1001), pool);
    }
    rlsmem(from_pool);
}

TEST(Pools, AutomaticPoolsAreMadeForSmallRequests) {
    for (const int size : {1, 8, 100, 2043, 2049, 32760, 32761, 65536, INT32_MAX}) {
        ASSERT_EQ(find_non_id_clump(size), -1) << size;
    }
    set_automatic_clumps_on(1);
    const int pool = find_non_id_clump(2043);
    EXPECT_GE(pool, 0);
    EXPECT_EQ(find_non_id_clump(2048), pool);
    EXPECT_EQ(find_non_id_clump(2049), -1);
    set_automatic_clumps_on(0);
    EXPECT_STREQ(mem_pool_name(pool), "");
}

TEST(Pools, AResizedRecordLeavesItsPool) {
    const int own = create_mem_pool("own", 100);
    const int general = register_clump("general", 1208);
    rlsmem(getmem(1)); // the first request of a process also makes the size cache
    const std::int64_t before = live_blocks();
    const struct {
        int pool, size, new_size;
    } rows[] = {
        {own, 104, 9000}, {own, 104, 5}, {own, 104, 1208}, {own, 104, 0}, {general, 1208, 1209}};
    for (const auto &row : rows) {
        auto *record = static_cast<unsigned char *>(getmem_pool_xar(row.pool, 1));
        std::memset(record, 9, static_cast<std::size_t>(row.size));
        auto *moved = static_cast<unsigned char *>(relocmem_xar(record, row.new_size, 0));
        ASSERT_NE(moved, nullptr);
        EXPECT_EQ(mempool_of_slot(moved), row.new_size == 1208 ? general : -1);
        for (int i = 0; i < row.new_size; i++) {
            ASSERT_EQ(moved[i], i < row.size ? 9 : 0);
        }
        rlsmem(moved);
        EXPECT_EQ(live_blocks(), before);
    }
    EXPECT_EQ(relocmem_clump(nullptr, 8, 0), nullptr);
}

TEST(Pools, AddressesAndIndexesThatAreNone) {
    for (const int pool : {-1, -8, 499, 500, 1 << 30}) {
        EXPECT_EQ(getmem_pool(pool), nullptr);
        EXPECT_EQ(mem_pool_name(pool), nullptr);
        EXPECT_EQ(check_mem_pool(pool), -1);
    }
    void *general = getmem(40);
    EXPECT_EQ(rlsmem_clump(general), 0);
    EXPECT_EQ(rlsmem_clump(nullptr), 0);
    EXPECT_EQ(mempool_of_slot(general), -1);
    EXPECT_EQ(mempool_of_slot(nullptr), -1);
    rlsmem(general);
}

TEST(Pools, ASecondReleaseIsReportedAndChangesNothing) {
    const int pool = create_mem_pool("twice", 64);
    void *kept = getmem_pool(pool);
    void *record = getmem_pool(pool);
    rlsmem(record);
    testing::internal::CaptureStdout();
    set_verbose_mode(1);
    EXPECT_EQ(rlsmem_clump(record), 1);
    set_verbose_mode(0);
    EXPECT_NE(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(check_mem_pool(pool), 0);
    EXPECT_EQ(getmem_pool(pool), record);
    rlsmem(record);
    rlsmem(kept);
}

TEST(Pools, ExhaustedMemoryKeepsTheRecordAndFreesTheLock) {
    static const int pool = create_mem_pool("exhausted", 64);
    static const int empty = create_mem_pool("empty", 64);
    void *record = getmem_pool(pool);
    std::strcpy(static_cast<char *>(record), "text");
    void (*const requests[])(void *) = {
        [](void *) {
            fail_allocation(0, true);
            EXPECT_EQ(getmem_pool(empty), nullptr);
        },
        [](void *data) {
            fail_allocation(0, true);
            EXPECT_EQ(relocmem_xar(data, 200, 0), nullptr);
        },
    };
    std::vector<void *> spares; // the memory of former areas
    for (int i = 0; i < 20; i++) {
        spares.push_back(getmem(Stat_clump_size));
    }
    EnableThreading();
    thrThread::c_iActiveThreadsInUse = 1;
    testing::internal::CaptureStdout();
    for (void (*request)(void *) : requests) {
        EXPECT_EQ(call_with_memory_trap(request, record), trapped_call::TRAPPED);
        request(record); // and no frame takes it
        fail_allocation(NO_FAILURE, false);
        EXPECT_STREQ(static_cast<char *>(record), "text");
        EXPECT_EQ(mempool_of_slot(record), pool);
        EXPECT_EQ(check_mem_pool(pool), 0);
    }
    testing::internal::GetCapturedStdout();
    for (void *spare : spares) {
        rlsmem(spare);
    }
    rlsmem(record);
    rlsmem(getmem_pool(empty));
    thrThread::c_iActiveThreadsInUse = 0;
    DisableThreading();
}

TEST(PoolMisuse, EndsTheProcess) {
    for (const int size : {0, -1, 65536 - static_cast<int>(sizeof(area_header)) - 7, INT32_MAX}) {
        EXPECT_EQ(run_in_child([size] { create_mem_pool("bad", size); }).status, 2) << size;
        EXPECT_EQ(run_in_child([size] { register_clump("bad", size); }).status, 2) << size;
    }
    EXPECT_EQ(run_in_child([] { find_non_id_clump(0); }).status, 2);
    EXPECT_EQ(run_in_child([] { find_non_id_clump(-40); }).status, 2);
    alignas(8) static char foreign[4096];
    std::memcpy(foreign + 2046, &TAG_IN_USE, sizeof TAG_IN_USE);
    EXPECT_EQ(run_in_child([] { rlsmem(foreign + 2048); }).status, 2);
    const auto damage = [] {
        void *record = getmem_pool(create_mem_pool("damaged", 16));
        std::memset(static_cast<char *>(record) - 8, 0x55, 2); // the slot's offset
        static_cast<void>(relocmem_xar(record, 8, 0));
    };
    EXPECT_EQ(run_in_child(damage).status, 2);
}

TEST(PoolMisuse, IsReportedOnRequest) {
    const struct {
        void (*misuse)(void *record);
        const char *report;
    } rows[] = {
        {[](void *record) {
             rlsmem(record);
             rlsmem(record);
         },
         "rlsmem_clump:   release of already released object\n"},
        {[](void *record) { static_cast<void>(relocmem_xar(record, 32, 0)); },
         "relocmem_clump:  Cannot reallocate a user registered clump!\n"},
    };
    for (const auto &row : rows) {
        const child_result child = run_in_child([&row] {
            set_verbose_mode(1);
            set_dbg_err_crash(1);
            set_run_mode(RUN_MODE_PFA_TRACE);
            const int pool = create_mem_pool("reported", 16);
            static_cast<void>(getmem_pool(pool));
            row.misuse(getmem_pool(pool));
        });
        EXPECT_EQ(child.status, 2);
        EXPECT_EQ(child.out.find(row.report), 0u) << child.out;
    }
}

TEST(PoolMisuse, AFullTable) {
    const auto one_pool_too_many = [](int mode) {
        while (getmem_pool(499) == nullptr) {
            create_mem_pool(nullptr, 8);
        }
        set_run_mode(mode);
        _exit(create_mem_pool(nullptr, 8) == -1 ? 0 : 1);
    };
    EXPECT_EQ(run_in_child([&] { one_pool_too_many(RUN_MODE_USER); }).status, 0);
    EXPECT_EQ(run_in_child([&] { one_pool_too_many(RUN_MODE_PFA_TRACE); }).status, 2);
}

} // namespace
