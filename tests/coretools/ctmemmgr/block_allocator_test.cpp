// The block allocator: totals, chain, contents, fill patterns, damage and exhausted memory.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "basictk/baselib/inc/thrThread.h"
#include "coretools/ctmemmgr/alloc_replay.h"
#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctmemmgr/block_internal.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/memory_trap.h"
#include "coretools/ctmemmgr/pools.h"
#include "coretools/ctmemmgr/serious_errors.h"
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

unsigned char *bytes(void *data) {
    return static_cast<unsigned char *>(data);
}

bool all_are(const void *data, std::size_t count, unsigned char value) {
    const auto *const first = static_cast<const unsigned char *>(data);
    return std::all_of(first, first + count, [value](unsigned char c) { return c == value; });
}

unsigned short word_before(const void *data) {
    unsigned short word;
    std::memcpy(&word, static_cast<const char *>(data) - sizeof word, sizeof word);
    return word;
}

class BlockAllocator : public testing::Test {
  protected:
    void SetUp() override {
        rlsmem(getmem(1)); // the first request of a process also makes the size cache
        set_clump_mode_off(1);
        before = get_memory_statistics();
    }

    void TearDown() override {
        set_clump_mode_off(0);
        EXPECT_EQ(check_memory_chain(), 0);
        const memory_statistics now = get_memory_statistics();
        EXPECT_EQ(now.num_blocks, before.num_blocks);
        EXPECT_EQ(now.application_size, before.application_size);
        EXPECT_EQ(now.system_size, before.system_size);
    }

    memory_statistics before = {};
};

TEST_F(BlockAllocator, CountsWhatABlockTakes) {
    const struct {
        int size;
        int rounded;
    } rows[] = {{1, 8}, {5, 8}, {8, 8}, {9, 16}, {260, 264}, {3977, 3984}, {0x30398, 0x30398}};
    for (const auto &row : rows) {
        void *data = getmem(row.size);
        ASSERT_NE(data, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(data) % 8, 0u);
        EXPECT_TRUE(all_are(data, static_cast<std::size_t>(row.size), 0)) << row.size;
        const memory_statistics now = get_memory_statistics();
        EXPECT_EQ(now.num_blocks, before.num_blocks + 1);
        EXPECT_EQ(now.application_size, before.application_size + row.size);
        EXPECT_EQ(now.system_size,
                  before.system_size + row.rounded + static_cast<std::int64_t>(BLOCK_OVERHEAD));
        EXPECT_GE(now.max_system_size, now.system_size);
        rlsmem(data);
    }
    EXPECT_EQ(getmem(0), nullptr);
    EXPECT_EQ(rlsmem(nullptr), 0);
}

// A 64-bit block of 807 MB has the bits of a pool tag in its size.
TEST_F(BlockAllocator, NeverLooksLikeAPoolRecord) {
    for (const int size :
         {0x3039, 0x303B, 0x30390000, 0x303B0001, 0x303DFFFF, 0x181C8000, INT_MAX}) {
        block_header block = {};
        set_block_size(&block, size);
        set_prev(&block, nullptr);
        EXPECT_EQ(block_size(&block), size);
        EXPECT_EQ(word_before(data_of(&block)) % 2, 0) << size;
    }
    EXPECT_EQ(whole_size(INT_MAX), 0x80000000U + BLOCK_OVERHEAD);
}

TEST_F(BlockAllocator, ResizingKeepsZeroesAndHidesNothing) {
    const struct {
        int from, to;
    } rows[] = {{10, 100}, {100, 10}, {100, 100}, {16, 17}, {1, 70000}, {70000, 3}, {20, 0}};
    for (const int mode : {0, 1, 2}) {
        set_always_relocate(mode == 1 ? 1 : 0);
        set_dont_release_memory(mode == 2 ? 1 : 0);
        for (const auto &row : rows) {
            void *first = getmem(8);
            void *data = getmem(row.from);
            void *last = getmem(8);
            std::memset(data, 7, static_cast<std::size_t>(row.from));
            data = relocmem_xar(data, row.to, 0);
            ASSERT_NE(data, nullptr);
            const int kept = std::min(row.from, row.to);
            EXPECT_TRUE(all_are(data, static_cast<std::size_t>(kept), 7));
            data = relocmem_xar(data, row.from + row.to + 9, 1); // what was cut off stays cut off
            EXPECT_TRUE(all_are(bytes(data) + kept,
                                static_cast<std::size_t>(row.from + row.to + 9 - kept), 0))
                << mode << ": " << row.from << " to " << row.to;
            EXPECT_EQ(check_memory_chain(), 0);
            rlsmem(first);
            rlsmem(last);
            rlsmem(data);
        }
    }
    set_dont_release_memory(0);
    before = get_memory_statistics(); // the list of released blocks stays
}

TEST_F(BlockAllocator, RandomRequestsKeepChainAndTotals) {
    struct live_block {
        unsigned char *data;
        int size;
        unsigned char pattern;
    };
    std::vector<live_block> live;
    std::mt19937 random(20);
    std::int64_t live_size = 0;
    for (int step = 0; step < 6000; step++) {
        const int size = static_cast<int>(random() % (random() % 20 == 0 ? 9000 : 300));
        const auto pattern = static_cast<unsigned char>(random() % 255 + 1);
        const unsigned what = live.size() > 150 ? 9 : random() % 10;
        set_always_relocate(static_cast<int>(random() % 2));
        if (what < 5 || live.empty()) {
            if (void *data = random() % 2 ? getmem(size) : relocmem_xar(nullptr, size, 0)) {
                ASSERT_TRUE(all_are(data, static_cast<std::size_t>(size), 0));
                std::memset(data, pattern, static_cast<std::size_t>(size));
                live.push_back({bytes(data), size, pattern});
                live_size += size;
            }
        } else {
            live_block &block = live[random() % live.size()];
            ASSERT_TRUE(all_are(block.data, static_cast<std::size_t>(block.size), block.pattern));
            live_size -= block.size;
            if (what < 8) {
                block.data = bytes(relocmem_xar(block.data, size, 0));
                block.size = size;
                block.pattern = pattern;
                std::memset(block.data, pattern, static_cast<std::size_t>(size));
                live_size += size;
            } else {
                rlsmem(block.data);
                block = live.back();
                live.pop_back();
            }
        }
        ASSERT_EQ(check_memory_chain(), 0) << step;
        ASSERT_EQ(get_memory_statistics().application_size - before.application_size, live_size);
    }
    for (const live_block &block : live) {
        rlsmem(block.data);
    }
    set_always_relocate(0);
}

struct seen_fill {
    void *block;
    std::size_t whole;
    bool first, middle, last;
} fill;

// The optimiser likes to drop stores to memory that is about to be freed.
TEST_F(BlockAllocator, OverwritesReleasedMemory) {
    const struct {
        int size;
        bool whole;
    } rows[] = {{1, true}, {300, true}, {3976, true}, {3977, false}, {3984, false}, {50000, false}};
    for (const auto &row : rows) {
        void *data = getmem(row.size);
        std::memset(data, 1, static_cast<std::size_t>(row.size));
        fill = {header_of(data), whole_size(row.size), false, false, false};
        free_watcher = [](void *pointer) {
            if (pointer == fill.block) {
                const std::size_t end = std::min<std::size_t>(1000, fill.whole);
                fill.first = all_are(pointer, end, 0xFF);
                fill.middle = all_are(pointer, fill.whole, 0xFF);
                fill.last = all_are(bytes(pointer) + fill.whole - end, end, 0xFF);
            }
        };
        rlsmem(data);
        free_watcher = nullptr;
        EXPECT_TRUE(fill.first && fill.last) << row.size;
        EXPECT_EQ(fill.middle, row.whole) << row.size;
    }
}

TEST_F(BlockAllocator, KeepsReleasedBlocksOnRequest) {
    set_dont_release_memory(1);
    std::vector<void *> blocks;
    for (int i = 0; i < 500; i++) { // enough to let the list itself move
        void *data = getmem(i == 0 ? 5000 : 40);
        blocks.push_back(header_of(data));
        rlsmem(data);
    }
    set_dont_release_memory(0);
    std::size_t found = 0;
    released_block entry;
    for (int i = 0; get_released_block(i, &entry); i++) {
        if (found < blocks.size() && entry.block == blocks[found]) {
            EXPECT_EQ(entry.whole_size, whole_size(found == 0 ? 5000 : 40));
            EXPECT_TRUE(all_are(entry.block, entry.whole_size, 0xFF));
            found++;
        }
    }
    EXPECT_EQ(found, blocks.size());
    EXPECT_FALSE(get_released_block(-1, &entry));
    before = get_memory_statistics();
}

TEST_F(BlockAllocator, RelmemClearsThePointer) {
    EXPECT_EQ(relmem<void>(nullptr), 0);
    int *data = nullptr;
    EXPECT_EQ(relmem(&data), 1);
    data = static_cast<int *>(getmem(4));
    EXPECT_EQ(relmem(&data), 1);
    EXPECT_EQ(data, nullptr);
    int *preserved = data = static_cast<int *>(getmem(4));
    set_marking_mem_to_preserve(1);
    relmem(&data);
    set_marking_mem_to_preserve(0);
    EXPECT_EQ(data, preserved);
}

// The middle one of three blocks, and a way to damage it or its neighbours.
struct damage {
    const char *what;
    void (*inflict)(char *first, char *middle, char *last);
    bool needs_guard; // seen only where the header has a check word
};

constexpr damage DAMAGES[] = {
    {"overrun", [](char *, char *middle, char *) { std::memset(middle + 40, 'A', 8); }, false},
    {"wild next",
     [](char *, char *middle, char *) {
         trailer_of(header_of(middle))->next = reinterpret_cast<block_header *>(0x10000);
     },
     true},
    {"underrun", [](char *, char *middle, char *) { std::memset(middle - 8, 0, 8); }, false},
    {"wild prev",
     [](char *, char *middle, char *) {
         header_of(middle)->prev = reinterpret_cast<block_header *>(0x10000);
     },
     true},
    {"overrun of the first", [](char *first, char *, char *) { std::memset(first, 0, 48); }, false},
    {"size of the first", [](char *first, char *, char *) { std::memset(first - 2, 0xEE, 2); },
     false},
    {"underrun of the last",
     [](char *, char *, char *last) {
         std::memset(static_cast<void *>(header_of(last)), 0, sizeof(void *));
     },
     false},
};

TEST(BlockDamage, EndsTheProcess) {
    for (const damage &row : DAMAGES) {
        if (row.needs_guard && sizeof(void *) == 4) {
            continue;
        }
        for (const bool resizes : {false, true}) {
            const child_result child = run_in_child([&] {
                char *blocks[3];
                for (char *&block : blocks) {
                    block = static_cast<char *>(getmem(40));
                }
                row.inflict(blocks[0], blocks[1], blocks[2]);
                resizes ? void(relocmem_xar(blocks[1], 80, 0)) : void(rlsmem(blocks[1]));
            });
            EXPECT_EQ(child.status, 2) << row.what << child.err;
            EXPECT_EQ(child.out, std::string(resizes ? "manage_memory" : "rlsmem") +
                                     ":  memory chain is corrupt\n"
                                     "Serious internal error; cannot continue.\n");
        }
    }
}

TEST(BlockDamage, AddressesAndSizesThatAreNone) {
    alignas(8) static char foreign[256];
    void (*const misuses[])() = {
        [] { rlsmem(foreign + 128); },
        [] { rlsmem(foreign + 129); },
        [] {
            set_dont_release_memory(1); // the memory of the block is still there
            void *data = getmem(40);
            rlsmem(data);
            rlsmem(data);
        },
        [] { static_cast<void>(getmem(-1)); },
        [] { static_cast<void>(getmem_null(INT_MIN)); },
        [] { static_cast<void>(relocmem_xar(getmem(8), -8, 0)); },
    };
    for (void (*misuse)() : misuses) {
        EXPECT_EQ(run_in_child(misuse).status, 2);
    }
}

TEST_F(BlockAllocator, AReportThatReturnsChangesNothing) {
    void *first = getmem(40);
    void *second = getmem(40);
    block_header *const saved = header_of(second)->prev;
    EnableThreading();
    thrThread::c_iActiveThreadsInUse = 1;
    set_wlx_exit_func([](int) {});
    testing::internal::CaptureStdout();
    header_of(second)->prev = nullptr;
    EXPECT_EQ(area_invalid(second), 1);
    EXPECT_EQ(area_invalid(first), 4);
    EXPECT_EQ(rlsmem(second), 0);
    EXPECT_EQ(relocmem_xar(first, 400, 0), nullptr);
    header_of(second)->prev = saved;
    EXPECT_NE(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(area_invalid(first), 0);
    rlsmem(second); // the lock is free
    rlsmem(first);
    set_wlx_exit_func(nullptr);
    thrThread::c_iActiveThreadsInUse = 0;
    DisableThreading();
}

struct failing_request {
    int kind; // 0 soft, 1 new, 2 resize
    void *data;
    bool came_back;
};

void make_request(void *argument) {
    auto *const request = static_cast<failing_request *>(argument);
    fail_allocation(0, true);
    void *const answer = request->kind == 0   ? getmem_null(50)
                         : request->kind == 1 ? getmem(INT_MAX)
                                              : relocmem_xar(request->data, 5000, 0);
    EXPECT_EQ(answer, nullptr);
    request->came_back = true;
}

TEST_F(BlockAllocator, ExhaustedMemoryUnwindsAndLosesNothing) {
    EnableThreading(); // a lock that stayed held would end the process
    thrThread::c_iActiveThreadsInUse = 1;
    void *data = getmem(100);
    std::memset(data, 3, 100);
    for (const int relocates : {0, 1}) {
        set_always_relocate(relocates);
        for (const int kind : {0, 1, 2}) {
            const char *const expected = kind == 0 ? ""
                                                   : " Serious error - out of virtual memory."
                                                     " Starting recovery attempt.\n";
            for (const bool trapped : {true, false}) {
                failing_request request = {kind, data, false};
                testing::internal::CaptureStdout();
                if (trapped) {
                    static_cast<void>(call_with_memory_trap(make_request, &request));
                } else {
                    make_request(&request);
                }
                fail_allocation(NO_FAILURE, false);
                EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
                EXPECT_EQ(request.came_back, !trapped || kind == 0);
                EXPECT_TRUE(all_are(data, 100, 3));
                EXPECT_EQ(check_memory_chain(), 0);
            }
        }
    }
    set_always_relocate(0);
    rlsmem(data);
    thrThread::c_iActiveThreadsInUse = 0;
    DisableThreading();
}

TEST(MemoryStartDeathTest, EndsTheProcessWithoutALock) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a process that has made no lock yet
    EXPECT_EXIT(
        {
            dup2(STDERR_FILENO, STDOUT_FILENO);
            EnableThreading();
            fail_allocation(0, true);
            static_cast<void>(getmem(8));
        },
        testing::ExitedWithCode(1), "Unable to initialize memory manager locks.  Exiting.\n");
}

TEST_F(BlockAllocator, ReplayReportsTheBlocksOfTheFile) {
    std::FILE *file = std::tmpfile();
    std::fputs("1 24\n3 99\n", file);
    std::rewind(file);
    for (const int level : {REPLAY_NUMBER_BLOCKS, REPLAY_REPORT_BLOCKS}) {
        testing::internal::CaptureStdout();
        set_memory_file_level(level, file);
        void *data[4];
        for (int i = 0; i < 3; i++) {
            data[i] = getmem_xar(23 + i, i % 2);
            EXPECT_EQ(memdebug_serial(data[i]), i);
        }
        data[0] = relocmem_xar(data[0], 50, 1);
        EXPECT_EQ(memdebug_serial(data[0]), 3);
        EXPECT_EQ(trailer_of(header_of(data[0]))->mark & 1, 1u);
        data[3] = getmem(8);
        set_memory_file_level(REPLAY_OFF, nullptr);
        char expected[400];
        std::snprintf(expected, sizeof expected,
                      "memdebug_alloc: 24 bytes at %lx won't get released.\n"
                      "memdebug_alloc: 50 bytes at %lx won't get released.\n"
                      "memdebug_alloc WARNING:  sizes have changed. "
                      "Memory loop is NOT VALID!!!\n",
                      reinterpret_cast<unsigned long>(data[1]),
                      reinterpret_cast<unsigned long>(data[0]));
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  level == REPLAY_NUMBER_BLOCKS ? "" : expected);
        for (void *block : data) {
            rlsmem(block);
        }
    }
    std::fclose(file);
    void *unnumbered = getmem(8);
    EXPECT_EQ(memdebug_serial(unnumbered), -1);
    rlsmem(unnumbered);
}

} // namespace
