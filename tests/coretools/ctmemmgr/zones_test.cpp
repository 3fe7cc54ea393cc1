// Zones: pieces of chunks, what cannot be served, emptying and closing.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "basictk/baselib/inc/thrThread.h"
#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctmemmgr/zones.h"
#include "tests/support/failing_malloc.h"

namespace {

TEST(Zones, PiecesAreZeroAlignedAndApart) {
    const int zone = zone_open(1001); // chunks of 1008 bytes
    ASSERT_GE(zone, 0);
    for (int round = 0; round < 2; round++) {
        std::vector<std::pair<char *, int>> pieces;
        for (int i = 0; i < 300; i++) {
            const int size = i % 50 == 0 ? 1008 : i * 7 % 90 + 1;
            auto *piece = static_cast<char *>(zone_getmem(zone, size));
            ASSERT_NE(piece, nullptr);
            ASSERT_EQ(reinterpret_cast<std::uintptr_t>(piece) % 8, 0u);
            ASSERT_TRUE(std::all_of(piece, piece + size, [](char c) { return c == 0; }));
            std::memset(piece, i % 100 + 1, static_cast<std::size_t>(size));
            pieces.emplace_back(piece, size);
        }
        for (std::size_t i = 0; i < pieces.size(); i++) {
            ASSERT_EQ(pieces[i].first[0], static_cast<char>(i % 100 + 1));
            ASSERT_EQ(pieces[i].first[pieces[i].second - 1], static_cast<char>(i % 100 + 1));
        }
        zone_empty(zone);
    }
    zone_close(zone);
}

TEST(Zones, EverythingGoesBackAtOnce) {
    const int zone = zone_open(64);
    const std::int64_t before = get_memory_statistics().num_blocks;
    for (int i = 0; i < 40; i++) {
        EXPECT_NE(zone_getmem(zone, 40), nullptr);
    }
    EXPECT_EQ(get_memory_statistics().num_blocks, before + 41); // the list of chunks too
    zone_empty(zone);
    EXPECT_EQ(get_memory_statistics().num_blocks, before);
    EXPECT_NE(zone_getmem(zone, 64), nullptr);
    zone_close(zone);
    EXPECT_EQ(get_memory_statistics().num_blocks, before);
    EXPECT_EQ(zone_open(8), zone);
    zone_close(zone);
}

TEST(Zones, WhatCannotBeServedIsNull) {
    EXPECT_EQ(zone_open(0), -1);
    EXPECT_EQ(zone_open(-8), -1);
    EXPECT_EQ(zone_open(INT32_MAX), -1);
    const int zone = zone_open(64);
    const int closed = zone_open(64);
    zone_close(closed);
    const std::int64_t before = get_memory_statistics().num_blocks;
    const struct {
        int zone, size;
    } rows[] = {{-1, 8},           {closed, 8}, {32767, 8}, {zone, 65},
                {zone, INT32_MAX}, {zone, -1},  {zone, 0}};
    EnableThreading(); // a lock that stayed held would end the process
    for (const auto &row : rows) {
        EXPECT_EQ(zone_getmem(row.zone, row.size), nullptr) << row.zone << " " << row.size;
    }
    zone_empty(closed);
    zone_empty(-1);
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
    DisableThreading();
}

} // namespace
