// Requests for blocks and pool records: at random beside a model, on one thread and on eight, and
// the first of a process.
#include "coretools/ctmemmgr/memory_loop.h"
#include "coretools/ctmemmgr/memory_trap.h"
#include "coretools/ctmemmgr/pools_internal.h"
#include "coretools/ctmemmgr/zones.h"
#include "tests/coretools/ctmemmgr/memory_test.h"
#include "tests/support/child_process.h"

#include <atomic>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using Requests = MemoryTest;

constexpr int SIZES[] = {1, 40, 300, 2000, 15001, 32000, 65488};

// A pool for each size: the first.
int make_pools() {
    register_clump("general", 312);
    for (const int size : SIZES) {
        create_mem_pool(nullptr, size);
    }
    return clump_count - static_cast<int>(std::size(SIZES));
}

// Random requests for blocks and records in every mode, beside a model that knows what each must
// hold. What else a test does at each step is up to it.
void use_memory(int seed, int first_pool, int steps, const std::function<void(int)> &at_each_step) {
    struct live_piece {
        void *data;
        int pool; // -1: a block
        std::string contents;
    };
    std::vector<live_piece> live;
    std::mt19937 random(static_cast<unsigned>(seed));
    for (int step = 0; step < steps; step++) {
        set_always_relocate(step % 3 == 1 ? 1 : 0);
        set_dont_release_memory(step % 3 == 2 ? 1 : 0);
        live_piece piece = {nullptr, -1, ""};
        const bool releases = random() % 10 < (step / 1000 % 2 == 0 ? 3U : 7U);
        if ((releases || random() % 3 == 0) && !live.empty()) {
            std::swap(live[random() % live.size()], live.back());
            piece = live.back();
            live.pop_back();
            ASSERT_EQ(std::memcmp(piece.data, piece.contents.data(), piece.contents.size()), 0);
            ASSERT_EQ(mempool_of_slot(piece.data), piece.pool) << step;
        }
        int size = static_cast<int>(random() % (random() % 20 == 0 ? 9000 : 320));
        if (releases) {
            rlsmem(std::exchange(piece.data, nullptr));
        } else if (piece.data == nullptr && random() % 2 == 0) {
            const std::size_t kind = random() % std::size(SIZES);
            size = SIZES[kind];
            piece.pool = first_pool + static_cast<int>(kind);
            const int xar = static_cast<int>(random() % 2);
            piece.data = getmem_pool_xar(piece.pool, xar);
            ASSERT_EQ(pool_tag_of(piece.data), xar != 0 ? TAG_IN_USE_XAR : TAG_IN_USE);
        } else {
            piece.data = relocmem_xar(piece.data, size, 0);
            piece.pool = mempool_of_slot(piece.data);
        }
        if (piece.data != nullptr) {
            piece.contents.resize(static_cast<std::size_t>(size)); // what is new is zero
            ASSERT_EQ(reinterpret_cast<std::uintptr_t>(piece.data) % 8, 0u);
            ASSERT_EQ(std::memcmp(piece.data, piece.contents.data(), piece.contents.size()), 0);
            piece.contents.assign(piece.contents.size(), static_cast<char>(random()));
            std::memcpy(piece.data, piece.contents.data(), piece.contents.size());
            live.push_back(piece);
        }
        at_each_step(step);
    }
    set_always_relocate(0);
    set_dont_release_memory(0);
    for (const live_piece &piece : live) {
        rlsmem(piece.data);
    }
}

TEST_F(Requests, RandomOperationsKeepContentsChainAndAreas) {
    const int first_pool = make_pools();
    use_memory(20, first_pool, 12000, [first_pool](int step) {
        use_locks(step / 500 % 2 == 0); // without them pools have a shorter way
        ASSERT_EQ(check_memory_chain(), CHAIN_IS_VALID) << step;
        ASSERT_EQ(check_mem_pool(first_pool + step % static_cast<int>(std::size(SIZES))),
                  POOL_IS_VALID)
            << step;
    });
    int released = 0;
    for (released_block entry; get_released_block(released, &entry); released++) {
        ASSERT_TRUE(all_are(entry.block, entry.whole_size, 0xFF));
    }
    use_locks(true);
    EXPECT_GT(released, 1000);
    EXPECT_LE(live_blocks(), before.num_blocks + 2); // the list stays
    before = get_memory_statistics();
}

// Nothing races and nothing is lost, while loops start and end.
TEST_F(Requests, EightThreadsLoseNothing) {
    const int first_pool = make_pools();
    const int zone = zone_open(4000);
    before = get_memory_statistics();
    testing::internal::CaptureStdout();
    run_on_threads(8, [first_pool, zone](int number) {
        use_memory(number, first_pool, 4000, [&](int step) {
            std::memset(zone_getmem(zone, 16), 1, 16);
            if (step % 16 == number) {
                EXPECT_FALSE(call_with_memory_trap([] { (void)zone_getmem(-1, 8); }));
                ASSERT_EQ(check_mem_pool(first_pool + step % 7), POOL_IS_VALID);
                debug_memory_loop();
            } else if (step % 16 == number + 8) {
                debug_cancel_memory_loop();
            }
        });
    });
    debug_cancel_memory_loop();
    testing::internal::GetCapturedStdout(); // what the traps and loops report
    zone_close(zone);
    const std::int64_t kept = live_blocks() - before.num_blocks;
    EXPECT_GE(kept, 0);
    EXPECT_LE(kept, 2); // the list of released blocks
    before = get_memory_statistics();
}

// Lock and unlock read the pointer of the lock twice. A call that began before the first request
// made the lock then released what it had never locked, and the process ended.
TEST(StartUp, AnyCallMayMeetTheFirstRequest) {
    expect_in_own_process([] { // the memory layer is not initialised there
        for (int attempt = 0; attempt < 180; ++attempt) {
            const child_result child = run_in_child([] {
                std::atomic<bool> requested{false};
                run_on_threads(2, [&](int number) {
                    if (number == 1) {
                        rlsmem(getmem(1));
                        requested = true;
                    }
                    while (!requested) {
                        mem_pool_name(0);
                        get_memory_statistics();
                        debug_cancel_memory_loop();
                    }
                });
            });
            ASSERT_EQ(child.status, 0) << child.err;
        }
    });
}

} // namespace
