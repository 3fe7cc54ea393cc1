// The block allocator: totals, chain, contents, fill patterns, damage and exhausted memory.
#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>
#include <vector>

#include "coretools/ctmemmgr/alloc_replay.h"
#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctmemmgr/block_internal.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/memory_trap.h"
#include "coretools/ctmemmgr/pools_internal.h"
#include "coretools/ctmisc/wlx_exit.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_malloc.h"

// Every free of the code under test comes through here.
static void (*free_watcher)(void *) = nullptr;

extern "C" {
void __real_free(void *pointer);
void __wrap_free(void *pointer);

void __wrap_free(void *pointer) {
    if (free_watcher != nullptr) {
        free_watcher(pointer);
    }
    __real_free(pointer);
}
}

namespace {

using byte = unsigned char;

bool all_are(const void *data, std::size_t count, byte value) {
    const auto *const first = static_cast<const byte *>(data);
    return std::all_of(first, first + count, [value](byte c) { return c == value; });
}

// Every test takes the locks, so that one that stays held ends the process, and leaves the totals
// as they were.
class BlockAllocator : public testing::Test {
  protected:
    void SetUp() override {
        rlsmem(getmem(1)); // the first request of a process also makes the size cache
        set_clump_mode_off(1);
        EnableThreading();
        thrThread::c_iActiveThreadsInUse = 1;
        before = get_memory_statistics();
    }

    void TearDown() override {
        EXPECT_EQ(check_memory_chain(), 0);
        EXPECT_EQ(get_memory_statistics().num_blocks, before.num_blocks);
        EXPECT_EQ(get_memory_statistics().system_size, before.system_size);
        thrThread::c_iActiveThreadsInUse = 0;
        DisableThreading();
        set_clump_mode_off(0);
    }

    memory_statistics before = {};
};

std::size_t freed_bytes = 0;
bool filled_at_ends = false;
bool filled_everywhere = false;

// The optimiser likes to drop stores to memory that is about to be freed.
TEST_F(BlockAllocator, CountsZeroesAndOverwrites) {
    const struct {
        int size, rounded;
        bool overwrites_all;
    } rows[] = {{1, 8, true},        {5, 8, true},         {8, 8, true},
                {9, 16, true},       {3976, 3976, true},   {3977, 3984, false},
                {3984, 3984, false}, {50001, 50008, false}};
    for (const auto &row : rows) {
        void *data = getmem(row.size);
        ASSERT_EQ(reinterpret_cast<std::uintptr_t>(data) % 8, 0u);
        EXPECT_TRUE(all_are(data, static_cast<std::size_t>(row.size), 0)) << row.size;
        const memory_statistics now = get_memory_statistics();
        freed_bytes = static_cast<std::size_t>(row.rounded) + BLOCK_OVERHEAD;
        EXPECT_EQ(now.application_size, before.application_size + row.size);
        EXPECT_EQ(now.system_size, before.system_size + static_cast<std::int64_t>(freed_bytes));
        free_watcher = [](void *block) {
            const std::size_t end = std::min<std::size_t>(1000, freed_bytes);
            filled_everywhere = all_are(block, freed_bytes, 0xFF);
            filled_at_ends = all_are(block, end, 0xFF) &&
                             all_are(static_cast<byte *>(block) + freed_bytes - end, end, 0xFF);
        };
        rlsmem(data);
        free_watcher = nullptr;
        EXPECT_TRUE(filled_at_ends) << row.size;
        EXPECT_EQ(filled_everywhere, row.overwrites_all) << row.size;
    }
    EXPECT_EQ(getmem(0), nullptr);
    EXPECT_EQ(rlsmem(nullptr), 0);
}

// A block of 807 MB has the bits of a pool tag in its size.
TEST_F(BlockAllocator, NeverLooksLikeAPoolRecord) {
    for (const int size : {0x3039, 0x303B0001, 0x303DFFFF, 0x181CFFFF, INT_MAX}) {
        block_header block = {};
        set_block_size(&block, size);
        EXPECT_EQ(block_size(&block), size);
        EXPECT_EQ(pool_tag_of(data_of(&block)) % 2, 0) << size;
    }
    EXPECT_EQ(whole_size(INT_MAX), 0x80000000U + BLOCK_OVERHEAD);
}

// Requests of every kind in every mode, beside a model that knows what each block must hold.
TEST_F(BlockAllocator, RandomRequestsKeepContentsChainAndTotals) {
    struct live_block {
        byte *data;
        std::size_t size;
        byte pattern;
    };
    std::vector<live_block> live;
    std::mt19937 random(20);
    for (int step = 0; step < 6000; step++) {
        const std::size_t size = random() % (random() % 20 == 0 ? 9000 : 300);
        const unsigned what = live.size() > 150 ? 9 : random() % 10;
        live_block block = {nullptr, 0, 0};
        if (what >= 5 && !live.empty()) {
            std::swap(live[random() % live.size()], live.back());
            block = live.back();
            live.pop_back();
            ASSERT_TRUE(all_are(block.data, block.size, block.pattern)) << step;
        }
        set_always_relocate(step % 3 == 1 ? 1 : 0);
        set_dont_release_memory(step % 3 == 2 ? 1 : 0);
        if (what >= 8) {
            rlsmem(block.data);
        } else if (void *data = relocmem_xar(block.data, static_cast<int>(size), 0)) {
            const std::size_t kept = std::min(size, block.size);
            block.data = static_cast<byte *>(data);
            ASSERT_TRUE(all_are(block.data, kept, block.pattern)) << step;
            ASSERT_TRUE(all_are(block.data + kept, size - kept, 0)) << step;
            block = {block.data, size, static_cast<byte>(random() % 255 + 1)};
            std::memset(block.data, block.pattern, size);
            live.push_back(block);
        }
        ASSERT_EQ(check_memory_chain(), 0) << step;
    }
    set_always_relocate(0);
    set_dont_release_memory(0);
    for (const live_block &block : live) {
        rlsmem(block.data);
    }
    int released = 0;
    for (released_block entry; get_released_block(released, &entry); released++) {
        ASSERT_TRUE(all_are(entry.block, entry.whole_size, 0xFF));
    }
    EXPECT_GT(released, 1000);
    EXPECT_LE(get_memory_statistics().num_blocks, before.num_blocks + 2); // the list stays
    before = get_memory_statistics();
}

// Ways to damage the middle one of three blocks, or its neighbours; a wild link is recognised by
// the check word that a 64-bit host keeps.
constexpr int DAMAGES = sizeof(void *) == 4 ? 3 : 5;

void damage(int way, char *first, char *middle, char *last) {
    void *const places[] = {middle + 40, first + 40, header_of(last),
                            &trailer_of(header_of(middle))->next, &header_of(middle)->prev};
    const std::uintptr_t words[] = {0x41414141, 0, 0, 0x10000, 0x10000};
    std::memcpy(places[way], &words[way], sizeof words[way]);
}

TEST(BlockDamage, EndsTheProcess) {
    for (int row = 0; row < 2 * DAMAGES; row++) {
        const bool resizes = row % 2 != 0;
        const child_result child = run_in_child([&] {
            char *blocks[3];
            for (char *&block : blocks) {
                block = static_cast<char *>(getmem(40));
            }
            damage(row / 2, blocks[0], blocks[1], blocks[2]);
            resizes ? void(relocmem_xar(blocks[1], 80, 0)) : void(rlsmem(blocks[1]));
        });
        EXPECT_EQ(child.status, 2) << row;
        EXPECT_EQ(child.out, std::string(resizes ? "manage_memory" : "rlsmem") +
                                 ":  memory chain is corrupt\n"
                                 "Serious internal error; cannot continue.\n");
    }
}

void release_twice() {
    set_dont_release_memory(1); // the memory of the block is still there
    void *data = getmem(40);
    rlsmem(data);
    rlsmem(data);
}

TEST(BlockDamage, AddressesAndSizesThatAreNone) {
    alignas(8) static char foreign[256];
    void (*const misuses[])() = {
        release_twice,
        [] { rlsmem(foreign + 128); },
        [] { rlsmem(foreign + 129); },
        [] { static_cast<void>(getmem(-1)); },
        [] { static_cast<void>(relocmem_xar(getmem(8), INT_MIN, 0)); },
    };
    for (void (*misuse)() : misuses) {
        EXPECT_EQ(run_in_child(misuse).status, 2);
    }
}

TEST_F(BlockAllocator, AReportThatReturnsChangesNothing) {
    void *blocks[] = {getmem(40), getmem(40)};
    block_header *const saved = header_of(blocks[1])->prev;
    set_wlx_exit_func([](int) {});
    testing::internal::CaptureStdout();
    header_of(blocks[1])->prev = nullptr;
    EXPECT_EQ(rlsmem(blocks[1]), 0);
    EXPECT_EQ(relocmem_xar(blocks[0], 400, 0), nullptr);
    header_of(blocks[1])->prev = saved;
    testing::internal::GetCapturedStdout();
    set_wlx_exit_func(nullptr);
    rlsmem(blocks[0]);
    rlsmem(blocks[1]);
}

// Kind 0 asks softly, 1 for a new block, 2 for another size.
struct failing_request {
    int kind;
    void *data;
    bool came_back;
};

void make_request(void *argument) {
    auto *const request = static_cast<failing_request *>(argument);
    fail_allocation(0, true);
    EXPECT_EQ(request->kind == 0   ? getmem_null(50)
              : request->kind == 1 ? getmem(INT_MAX)
                                   : relocmem_xar(request->data, 5000, 0),
              nullptr);
    request->came_back = true;
}

TEST_F(BlockAllocator, ExhaustedMemoryUnwindsAndLosesNothing) {
    void *data = getmem(100);
    std::memset(data, 3, 100);
    for (int row = 0; row < 12; row++) {
        failing_request request = {row % 3, data, false};
        const bool trapped = row % 2 == 0;
        set_always_relocate(row / 6);
        testing::internal::CaptureStdout();
        trapped ? void(call_with_memory_trap(make_request, &request)) : make_request(&request);
        fail_allocation(NO_FAILURE, false);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  request.kind == 0 ? ""
                                    : " Serious error - out of virtual memory."
                                      " Starting recovery attempt.\n");
        EXPECT_EQ(request.came_back, !trapped || request.kind == 0);
        EXPECT_TRUE(all_are(data, 100, 3));
    }
    set_always_relocate(0);
    rlsmem(data);
}

TEST_F(BlockAllocator, ReplayReportsTheBlocksOfTheFile) {
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
        EXPECT_EQ(output.find("memdebug_alloc: 24 bytes at ") == 0, level == REPLAY_REPORT_BLOCKS);
        EXPECT_EQ(output.find("WARNING:  sizes have changed. Memory loop is NOT VALID!!!\n") !=
                      std::string::npos,
                  level == REPLAY_REPORT_BLOCKS);
        for (void *block : data) {
            rlsmem(block);
        }
    }
    std::fclose(file);
}

} // namespace
