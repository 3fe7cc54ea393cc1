// Pools (their areas, the checker, the general pools behind getmem) and zones.
#include "coretools/ctmemmgr/memory_loop.h"
#include "coretools/ctmemmgr/pools_internal.h"
#include "coretools/ctmemmgr/zones.h"
#include "tests/coretools/ctmemmgr/memory_test.h"

#include <cstring>
#include <utility>
#include <vector>

namespace {

using Pools = MemoryTest;

TEST_F(Pools, OneSlotOfAnAreaStaysFree) {
    const int pool = create_mem_pool("capacity", 300);
    const std::size_t slots = (65536 - sizeof(area_header)) / (304 + 8);
    std::vector<char *> records;
    while (live_blocks() < before.num_blocks + 2) {
        records.push_back(static_cast<char *>(getmem_pool(pool)));
    }
    EXPECT_EQ(records.size(), slots);
    rlsmem(records[0]); // room in a full area is found again
    EXPECT_EQ(rlsmem_clump(records[0]), 1);
    rlsmem(records.back());
    EXPECT_EQ(check_mem_pool(pool), POOL_IS_VALID);
    EXPECT_EQ(getmem_pool(pool), records[0]);
    auto *const first_slot = reinterpret_cast<slot_header *>(records[0]) - 1;
    auto *const area = reinterpret_cast<area_header *>(first_slot) - 1;
    const std::int16_t free_slot = std::exchange(area->first_free, 0); // in use
    EXPECT_EQ(check_mem_pool(pool), POOL_BAD_FREE_LIST);
    area->first_free = free_slot;
    records.pop_back();
    std::for_each(records.begin(), records.end(), rlsmem);
}

TEST_F(Pools, GeneralPoolsServeTheirRoundedSize) {
    const int pool = register_clump("one", 1001);
    EXPECT_EQ(create_mem_pool("same size", 1008), pool + 1);
    EXPECT_EQ(register_clump("another name", 1008), pool);
    EXPECT_EQ(register_clump("a third one that does not fit", 1007), pool);
    EXPECT_STREQ(mem_pool_name(pool), "one + another name + a third o");
    void *const data = relocmem_xar(getmem_pool(pool + 1), 1002, 0);
    EXPECT_EQ(mempool_of_slot(data), pool);
    rlsmem(data);
    for (const int size : {1000, 2048, INT32_MAX}) {
        EXPECT_EQ(find_non_id_clump(size), -1) << size;
    }
    for (const int number : {-1, 499, 500}) {
        EXPECT_EQ(getmem_pool(number), nullptr) << number;
    }
    set_automatic_clumps_on(1);
    EXPECT_EQ(find_non_id_clump(2043), find_non_id_clump(2048));
    EXPECT_EQ(find_non_id_clump(2049), -1);
    set_automatic_clumps_on(0);
    set_clump_mode_off(1);
    EXPECT_EQ(find_non_id_clump(1008), -1);
    set_clump_mode_off(0);
    EXPECT_EQ(find_non_id_clump(1008), pool);
    set_dbg_memory_config(1);
    EXPECT_EQ(get_dbg_memory_config(), 1);
    set_dbg_memory_config(0);
}

using Zones = MemoryTest;

TEST_F(Zones, PiecesUpToAChunkAreServed) {
    const int zone = zone_open(1201); // chunks of 1208 bytes
    before = get_memory_statistics(); // with the table of zones
    for (int i = 0; i < 600; i++) {
        const std::size_t size = i % 50 == 0 ? 1208u : static_cast<unsigned>(i) * 7 % 90 + 1;
        void *piece = zone_getmem(zone, static_cast<int>(size));
        ASSERT_EQ(reinterpret_cast<std::uintptr_t>(piece) % 8, 0u);
        ASSERT_TRUE(all_are(piece, size, 0));
        std::memset(piece, 'x', size);
        if (i == 300) {
            zone_empty(zone);
        }
    }
    for (const int size : {-1, 0, 1209, INT32_MAX}) {
        EXPECT_EQ(zone_getmem(zone, size), nullptr) << size;
    }
    zone_close(zone);
    EXPECT_EQ(zone_getmem(zone, 8), nullptr);
    EXPECT_EQ(zone_open(INT32_MAX), -1);
    EXPECT_EQ(zone_open(8), zone);
    zone_close(zone);
}

// The chunk was taken without the lock, for chunks of 64 bytes; meanwhile the zone was closed and
// opened again with larger ones. 4,000 bytes were then handed out behind that chunk.
TEST_F(Zones, ChunkIsAddedOnlyToTheZoneItWasMadeFor) {
    static const int zone = zone_open(64);
    before.num_blocks = live_blocks();
    for (int pass = 0; pass < 3; pass++) {
        debug_memory_loop(); // the third pass reports the first new chunk and calls the function
        set_debug_memory_func([] {
            set_debug_memory_func(nullptr);
            zone_close(zone);
            EXPECT_EQ(zone_open(8000), zone);
        });
        testing::internal::CaptureStdout();
        EXPECT_EQ(zone_getmem(zone, 64) != nullptr, pass < 2);
        testing::internal::GetCapturedStdout();
    }
    debug_cancel_memory_loop();
    EXPECT_EQ(dbggetmem_size(nullptr, zone_getmem(zone, 4000)), 8000);
    zone_close(zone);
    before = get_memory_statistics();
}

} // namespace
