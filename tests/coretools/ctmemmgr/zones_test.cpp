// Zones.
#include "coretools/ctmemmgr/memory_loop.h"
#include "coretools/ctmemmgr/zones.h"
#include "tests/coretools/ctmemmgr/memory_test.h"

#include <cstring>

#include <gtest/gtest.h>

namespace {

using Zones = MemoryTest;

TEST_F(Zones, ServeWhatFitsInAChunk) {
    const int zone = zone_open(1201); // chunks of 1208 bytes
    const int closed = zone_open(1201);
    zone_close(closed);
    before = get_memory_statistics();
    for (int i = 0; i < 600; i++) {
        const int size = i % 50 == 0 ? 1208 : i * 7 % 90 + 1;
        void *piece = zone_getmem(zone, size);
        ASSERT_EQ(reinterpret_cast<std::uintptr_t>(piece) % 8, 0u);
        ASSERT_TRUE(all_are(piece, static_cast<std::size_t>(size), 0));
        std::memset(piece, 'x', static_cast<std::size_t>(size));
        if (i % 300 == 299) {
            zone_empty(zone);
        }
    }
    for (const int wrong : {-1, closed, 32767}) {
        EXPECT_EQ(zone_getmem(wrong, 8), nullptr) << wrong;
    }
    for (const int size : {-1, 0, 1209, INT32_MAX}) {
        EXPECT_EQ(zone_getmem(zone, size), nullptr) << size;
    }
    zone_close(zone);
    for (const int chunk : {-8, 0, INT32_MAX}) {
        EXPECT_EQ(zone_open(chunk), -1) << chunk;
    }
    EXPECT_EQ(zone_open(8), zone);
    zone_close(zone);
}

// The chunk was taken without the lock, for chunks of 64 bytes; meanwhile the zone was closed and
// opened again with larger ones. 4,000 bytes were then handed out behind that chunk.
TEST_F(Zones, AddAChunkOnlyIfItWasMadeForThem) {
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
