// Pools: their areas, the checker, and the general pools behind getmem.
#include "coretools/ctmemmgr/pools_internal.h"
#include "tests/coretools/ctmemmgr/memory_test.h"

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Pools = MemoryTest;

TEST_F(Pools, KeepOneSlotOfAnAreaInReserve) {
    const int pool = create_mem_pool("capacity", 300);
    const std::size_t slots = (65536 - sizeof(area_header)) / (304 + 8);
    std::vector<void *> records;
    while (live_blocks() < before.num_blocks + 2) {
        records.push_back(getmem_pool(pool));
    }
    EXPECT_EQ(records.size(), slots);
    rlsmem(records[0]); // room in a full area is found again
    EXPECT_EQ(rlsmem_clump(records[0]), 1);
    rlsmem(records.back());
    EXPECT_EQ(check_mem_pool(pool), POOL_IS_VALID);
    EXPECT_EQ(getmem_pool(pool), records[0]);
    records.pop_back();
    std::for_each(records.begin(), records.end(), rlsmem);
}

// The checker had stopped to look, and such a record would have been handed out twice.
TEST_F(Pools, AreCheckedForRecordsInUseOnTheFreeList) {
    const int pool = create_mem_pool("checked", 40);
    char *const first = static_cast<char *>(getmem_pool(pool)) - sizeof(slot_header);
    void *const second = getmem_pool(pool);
    auto *const area = reinterpret_cast<area_header *>(first - sizeof(area_header));
    rlsmem(first + sizeof(slot_header));
    EXPECT_EQ(check_mem_pool(pool), POOL_IS_VALID);
    area->first_free = (40 + sizeof(slot_header)) / SLOT_UNIT;
    EXPECT_EQ(check_mem_pool(pool), POOL_BAD_FREE_LIST);
    area->first_free = 0;
    rlsmem(second);
}

TEST_F(Pools, ThatAreGeneralServeTheirRoundedSize) {
    const int pool = register_clump("one", 1001);
    EXPECT_EQ(create_mem_pool("same size", 1008), pool + 1);
    EXPECT_EQ(register_clump("another name", 1008), pool);
    EXPECT_EQ(register_clump("a third one that does not fit", 1007), pool);
    EXPECT_STREQ(mem_pool_name(pool), "one + another name + a third o");
    void (*const switches[])(int) = {set_clump_mode_off, set_clump_mode_off_low, [](int) {}};
    for (void (*switch_pools_off)(int) : switches) {
        switch_pools_off(1);
        void *data = relocmem_xar(getmem_pool(pool + 1), 1002, 0);
        switch_pools_off(0);
        EXPECT_EQ(mempool_of_slot(data), switch_pools_off == switches[2] ? pool : -1);
        rlsmem(data);
    }
    for (const int size : {1, 1000, 2043, 2049, 32761, 65536, INT32_MAX}) {
        EXPECT_EQ(find_non_id_clump(size), -1) << size;
    }
    set_automatic_clumps_on(1);
    const int automatic = find_non_id_clump(2048);
    EXPECT_STREQ(mem_pool_name(automatic), "");
    EXPECT_EQ(find_non_id_clump(2043), automatic);
    EXPECT_EQ(find_non_id_clump(2049), -1);
    set_automatic_clumps_on(0);
}

} // namespace
