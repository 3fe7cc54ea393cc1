// Blocks, pool records and zones: totals, chain, areas, contents, fill patterns, damage and
// exhausted memory.
#include "coretools/ctmemmgr/alloc_replay.h"
#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctmemmgr/block_internal.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/memory_trap.h"
#include "coretools/ctmemmgr/pools_internal.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctmemmgr/zones.h"
#include "coretools/ctmisc/run_mode.h"
#include "coretools/ctmisc/wlx_exit.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/threads.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

// The next block that the core frees: so many of its bytes are kept.
std::size_t watched_bytes = 0;
std::string freed;
int num_frees = 0;

void watch_free(void *block) {
    num_frees++;
    if (watched_bytes != 0) {
        freed.assign(static_cast<char *>(block), std::exchange(watched_bytes, 0));
    }
}

bool all_are(const void *data, std::size_t count, int value) {
    const auto *const first = static_cast<const unsigned char *>(data);
    return std::all_of(first, first + count, [value](int c) { return c == value; });
}

std::int64_t live_blocks() {
    return get_memory_statistics().num_blocks;
}

void use_locks(bool on) {
    thrThread::c_iActiveThreadsInUse = on ? 1 : 0;
    on ? EnableThreading() : DisableThreading();
}

// Every test takes the locks, so that one that stays held ends the process, and leaves the totals
// as they were.
class Allocator : public testing::Test {
  protected:
    void SetUp() override {
        rlsmem(getmem(1)); // the first request of a process also makes the size cache
        use_locks(true);
        before = get_memory_statistics();
    }

    void TearDown() override {
        before_free = nullptr;
        EXPECT_EQ(check_memory_chain(), 0);
        EXPECT_EQ(live_blocks(), before.num_blocks);
        EXPECT_EQ(get_memory_statistics().system_size, before.system_size);
        use_locks(false);
    }

    memory_statistics before = {};
};

// The optimiser likes to drop stores to memory that is about to be freed.
TEST_F(Allocator, CountsAndOverwrites) {
    for (const int size : {1, 5, 8, 9, 3976, 3977, 3984, 50001}) {
        const std::size_t rounded = static_cast<std::size_t>(size + 7) / 8 * 8;
        const std::size_t whole = rounded + BLOCK_OVERHEAD;
        void *data = getmem(size);
        const memory_statistics now = get_memory_statistics();
        EXPECT_EQ(now.application_size, before.application_size + size);
        EXPECT_EQ(now.system_size, before.system_size + static_cast<std::int64_t>(whole));
        before_free = watch_free;
        watched_bytes = whole;
        rlsmem(data);
        std::string overwritten(whole, '\xFF');
        if (rounded >= 3984) {
            overwritten.replace(1000, whole - 2000, whole - 2000, '\0');
        }
        EXPECT_TRUE(freed == overwritten) << size;
    }
    EXPECT_EQ(getmem(0), nullptr);
    EXPECT_EQ(rlsmem(nullptr), 0);
}

// A block of 807 MB has the bits of a pool tag in its size.
TEST_F(Allocator, ABlockNeverLooksLikeAPoolRecord) {
    for (const int size : {0x3039, 0x303B0001, 0x303DFFFF, 0x181CFFFF, INT32_MAX}) {
        block_header block = {};
        set_block_size(&block, size);
        EXPECT_EQ(block_size(&block), size);
        EXPECT_EQ(pool_tag_of(data_of(&block)) % 2, 0) << size;
    }
}

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

TEST_F(Allocator, RandomRequestsKeepContentsChainAndAreas) {
    const int first_pool = make_pools();
    use_memory(20, first_pool, 12000, [first_pool](int step) {
        use_locks(step / 500 % 2 == 0); // without them pools have a shorter way
        ASSERT_EQ(check_memory_chain(), 0) << step;
        ASSERT_EQ(check_mem_pool(first_pool + step % static_cast<int>(std::size(SIZES))), 0)
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

// What a thread does beside its blocks now and then: count is guarded by the mutex.
void use_everything_else(int step, int **list, thrMutex *mutex, int *count) {
    dbg_print_info("threads", "%-4s|%*d", "ab", 5, step);
    thrMutex_Lock(mutex);
    thrMutex_Lock(mutex);
    ++*count;
    thrMutex_Unlock(mutex);
    thrMutex_Unlock(mutex);
    const auto outgrow = [](void *argument) {
        xar_extend(static_cast<int **>(argument), XAR_LIMIT_BYTES);
    };
    EXPECT_FALSE(call_with_memory_trap(outgrow, list));
    EXPECT_EQ((*list)[xar_count(list) - 1], step);
}

// Nothing races and nothing is lost, while loops start and end.
TEST_F(Allocator, EightThreadsAtOnceLoseNothing) {
    constexpr int THREADS = 8;
    constexpr int STEPS = 4000;
    constexpr int ENGINE_BLOCKS = 3; // what the formatting engine keeps for each thread it served
    const int first_pool = make_pools();
    const int zone = zone_open(4000);
    thrMutex *const mutex = thrMutex_Create_Recursive();
    std::atomic<int> running{THREADS};
    int count = 0;
    before = get_memory_statistics();
    set_run_mode(RUN_MODE_PFA_TRACE);
    testing::internal::CaptureStdout();
    run_on_threads(THREADS + 1, [&](int number) {
        while (number == THREADS && running > 0) {
            debug_memory_loop();
            std::this_thread::yield();
            debug_cancel_memory_loop();
        }
        int *list = xar_alloc_of<int>(0, 10);
        use_memory(number, first_pool, number == THREADS ? 0 : STEPS, [&](int step) {
            ASSERT_NE(xar_append(&list, 1, &step), nullptr);
            std::memset(zone_getmem(zone, 16), 1, 16);
            if (step % 16 == 0) {
                use_everything_else(step, &list, mutex, &count);
                ASSERT_EQ(check_mem_pool(first_pool + step % 7), 0);
            }
        });
        xar_free(&list);
        running--;
    });
    std::istringstream output(testing::internal::GetCapturedStdout());
    std::map<std::string, int> reports;
    for (std::string line; std::getline(output, line);) {
        reports[line]++;
    }
    for (const auto &[line, times] : reports) {
        EXPECT_EQ(times % THREADS, 0) << line;
    }
    EXPECT_EQ(reports["threads:  ab  | 1008 (INFO MESSAGE)"], THREADS);
    set_run_mode(RUN_MODE_USER);
    zone_close(zone);
    EXPECT_EQ(count, THREADS * STEPS / 16);
    const std::int64_t kept = live_blocks() - before.num_blocks - THREADS * ENGINE_BLOCKS;
    EXPECT_TRUE(kept >= 0 && kept <= 2) << kept; // the list of released blocks
    before = get_memory_statistics();
}

TEST_F(Allocator, AnAreaKeepsOneSlotInReserve) {
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
    EXPECT_EQ(check_mem_pool(pool), 0);
    EXPECT_EQ(getmem_pool(pool), records[0]);
    records.pop_back();
    std::for_each(records.begin(), records.end(), rlsmem);
}

// The checker had stopped to look, and such a record would have been handed out twice.
TEST_F(Allocator, ARecordInUseOnTheFreeListIsSeen) {
    const int pool = create_mem_pool("checked", 40);
    char *const first = static_cast<char *>(getmem_pool(pool)) - sizeof(slot_header);
    void *const second = getmem_pool(pool);
    auto *const area = reinterpret_cast<area_header *>(first - sizeof(area_header));
    rlsmem(first + sizeof(slot_header));
    EXPECT_EQ(check_mem_pool(pool), 0);
    area->first_free = (40 + sizeof(slot_header)) / SLOT_UNIT;
    EXPECT_NE(check_mem_pool(pool), 0);
    area->first_free = 0;
    rlsmem(second);
}

TEST_F(Allocator, GeneralPoolsServeTheirRoundedSize) {
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

// The middle one of three blocks is damaged, or a neighbour; a wild link is recognised by the check
// word that a 64-bit host keeps. Where the report returns, nothing has changed.
TEST_F(Allocator, ADamagedBlockIsReportedAndNotTouched) {
    constexpr int WAYS = sizeof(void *) == 4 ? 3 : 5;
    void *blocks[] = {getmem(40), getmem(40), getmem(40)};
    block_header *const middle = header_of(blocks[1]);
    block_header **const places[] = {&trailer_of(middle)->next, &header_of(blocks[2])->prev,
                                     &trailer_of(header_of(blocks[0]))->next, &middle->prev,
                                     &trailer_of(middle)->next};
    const std::uintptr_t words[] = {0x41414141, 0, 0, 0x10000, 0x10000};
    set_wlx_exit_func([](int) {});
    for (int way = 0; way < WAYS; way++) {
        const auto wild = reinterpret_cast<block_header *>(words[way]);
        block_header *const link = std::exchange(*places[way], wild);
        testing::internal::CaptureStdout();
        EXPECT_EQ(rlsmem(blocks[1]), 0);
        EXPECT_EQ(relocmem_xar(blocks[1], 80, 0), nullptr);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "rlsmem:  memory chain is corrupt\nSerious internal error; cannot continue.\n"
                  "manage_memory:  memory chain is corrupt\n"
                  "Serious internal error; cannot continue.\n")
            << way;
        *places[way] = link;
    }
    set_wlx_exit_func(nullptr);
    std::for_each(std::begin(blocks), std::end(blocks), rlsmem);
}

constexpr char RECOVERY[] = " Serious error - out of virtual memory. Starting recovery attempt.\n";

TEST_F(Allocator, ExhaustedMemoryUnwindsAndLosesNothing) {
    static const int empty_pool = create_mem_pool("empty", 64);
    static const int zone = zone_open(1201);
    before = get_memory_statistics();
    void *const block = getmem(100);
    void *const record = getmem_pool(create_mem_pool("exhausted", 64));
    free_spare_areas();
    const struct {
        int nth; // allocation of the request fails, and all behind it
        void (*request)(void *data);
        void *data;
        const char *report;
    } rows[] = {
        {0, [](void *) { EXPECT_EQ(getmem_null(50), nullptr); }, block, ""},
        {0, [](void *) { EXPECT_EQ(getmem(INT32_MAX), nullptr); }, block, RECOVERY},
        {0, [](void *) { EXPECT_EQ(getmem_pool(empty_pool), nullptr); }, block, RECOVERY},
        {0, [](void *data) { EXPECT_EQ(relocmem_xar(data, 5000, 0), nullptr); }, block, RECOVERY},
        {0, [](void *data) { EXPECT_EQ(relocmem_xar(data, 5000, 0), nullptr); }, record, RECOVERY},
        {0, [](void *) { EXPECT_EQ(zone_getmem(zone, 8), nullptr); }, block, RECOVERY},
        {1, [](void *) { EXPECT_EQ(zone_getmem(zone, 8), nullptr); }, block, RECOVERY},
    };
    call_with_memory_trap([](void *) {}, nullptr); // makes the thread's stack of traps
    for (int i = 0; i < 4 * static_cast<int>(std::size(rows)); i++) {
        const auto &row = rows[i / 4];
        const bool trapped = i % 2 == 0;
        set_always_relocate(i / 2 % 2);
        std::memset(row.data, 3, 64);
        testing::internal::CaptureStdout();
        fail_allocation(row.nth, true);
        const bool returned =
            trapped ? call_with_memory_trap(row.request, row.data) : (row.request(row.data), true);
        fail_allocation(NO_FAILURE, false);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), row.report);
        EXPECT_EQ(returned, !trapped || *row.report == '\0');
        EXPECT_TRUE(all_are(row.data, 64, 3));
    }
    set_always_relocate(0);
    EXPECT_NE(zone_getmem(zone, 8), nullptr);
    zone_empty(zone);
    rlsmem(block);
    rlsmem(record);
}

void make_a_spare_area() {
    static const int pool = create_mem_pool("spare", 1000);
    rlsmem(getmem_pool(pool));
}

// The spare areas of the pools took any released block of about their size, and kept it when malloc
// failed.
TEST_F(Allocator, SpareAreasAreGivenUpBeforeARequestFails) {
    free_spare_areas();
    num_frees = 0;
    before_free = watch_free;
    rlsmem(getmem(Stat_clump_size));
    EXPECT_EQ(num_frees, 1);
    EXPECT_FALSE(free_spare_areas());

    const struct {
        const char *name;
        bool relocates;
        void *(*request)();
    } rows[] = {
        {"new block", false, [] { return getmem_null(100); }},
        {"resize in place", false, [] { return relocmem_xar(getmem(10), 5000, 0); }},
        {"resize by moving", true, [] { return relocmem_xar(getmem(10), 5000, 0); }},
    };
    for (const auto &row : rows) {
        set_always_relocate(row.relocates ? 1 : 0);
        make_a_spare_area();
        // The first call of malloc by a row that resizes is that of the block to resize.
        fail_allocation(std::strcmp(row.name, "new block") == 0 ? 0 : 1, false);
        testing::internal::CaptureStdout();
        void *const data = row.request();
        fail_allocation(NO_FAILURE, false);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << row.name;
        EXPECT_NE(data, nullptr) << row.name;
        EXPECT_FALSE(free_spare_areas()) << row.name;
        rlsmem(data);
    }
    set_always_relocate(0);
}

// The chunk was taken without the lock, for chunks of 64 bytes; meanwhile the zone was closed and
// opened again with larger ones. 4,000 bytes were then handed out behind that chunk.
TEST_F(Allocator, AChunkServesOnlyTheZoneThatAskedForIt) {
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

TEST_F(Allocator, ZonesServeWhatFitsInAChunk) {
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
    const int rows[][2] = {{-1, 8},           {closed, 8}, {32767, 8}, {zone, 1209},
                           {zone, INT32_MAX}, {zone, -1},  {zone, 0}};
    for (const auto &[from, size] : rows) {
        EXPECT_EQ(zone_getmem(from, size), nullptr) << from << " " << size;
    }
    zone_close(zone);
    EXPECT_TRUE(zone_open(0) == -1 && zone_open(-8) == -1 && zone_open(INT32_MAX) == -1);
    EXPECT_EQ(zone_open(8), zone);
    zone_close(zone);
}

TEST_F(Allocator, ReplayReportsTheBlocksOfTheFile) {
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
        const std::size_t warning = output.find(
            "memdebug_alloc WARNING:  sizes have changed. Memory loop is NOT VALID!!!\n");
        EXPECT_EQ(output.find("memdebug_alloc: 24 bytes at ") == 0, level == REPLAY_REPORT_BLOCKS);
        EXPECT_EQ(warning != std::string::npos, level == REPLAY_REPORT_BLOCKS);
        EXPECT_LE(output.find("memdebug_alloc: 50 bytes at "), warning);
        std::for_each(std::begin(data), std::end(data), rlsmem);
    }
    std::fclose(file);
}

} // namespace
