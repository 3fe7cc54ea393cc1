// Zones: pieces of chunks, what cannot be served, emptying and closing.
#include <gtest/gtest.h>

#include <algorithm>

#include "basictk/baselib/inc/thrThread.h"
#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctmemmgr/zones.h"
#include "tests/support/failing_malloc.h"

namespace {

TEST(Zones, PiecesAreZeroAlignedAndApart) {
    const int zone = zone_open(1001); // chunks of 1008 bytes
    for (int i = 0; i < 600; i++) {
        const int size = i % 50 == 0 ? 1008 : i * 7 % 90 + 1;
        auto *piece = static_cast<char *>(zone_getmem(zone, size));
        ASSERT_EQ(reinterpret_cast<std::uintptr_t>(piece) % 8, 0u);
        ASSERT_TRUE(std::all_of(piece, piece + size, [](char c) { return c == 0; }));
        std::fill_n(piece, size, 'x');
        if (i == 300) {
            zone_empty(zone);
        }
    }
    zone_close(zone);
}

TEST(Zones, WhatCannotBeServedIsNull) {
    for (const int size : {0, -8, INT32_MAX}) {
        EXPECT_EQ(zone_open(size), -1);
    }
    const int zone = zone_open(64);
    const int closed = zone_open(64);
    zone_close(closed);
    const int rows[][2] = {{-1, 8},           {closed, 8}, {32767, 8}, {zone, 65},
                           {zone, INT32_MAX}, {zone, -1},  {zone, 0}};
    const std::int64_t before = get_memory_statistics().num_blocks;
    EnableThreading(); // a lock that stayed held would end the process
    for (const auto &[from, size] : rows) {
        EXPECT_EQ(zone_getmem(from, size), nullptr) << from << " " << size;
    }
    // Wherever memory runs out, the zone stays usable and nothing is lost.
    testing::internal::CaptureStdout();
    int needed = 0;
    for (void *piece = nullptr; piece == nullptr; needed++) {
        EXPECT_EQ(get_memory_statistics().num_blocks, before);
        fail_allocation(needed, true);
        piece = zone_getmem(zone, 8);
        fail_allocation(NO_FAILURE, false);
    }
    testing::internal::GetCapturedStdout();
    EXPECT_GT(needed, 2);
    zone_close(zone);
    EXPECT_EQ(get_memory_statistics().num_blocks, before);
    EXPECT_EQ(zone_open(8), zone);
    zone_close(zone);
    DisableThreading();
}

} // namespace
