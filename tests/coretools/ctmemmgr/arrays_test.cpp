// Extensible and chunked arrays: shapes, growth, and random operations against a vector while
// memory runs out.
#include "coretools/ctmemmgr/har.h"
#include "coretools/ctmemmgr/memory_trap.h"
#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctmemmgr/zones.h"
#include "tests/coretools/ctmemmgr/memory_test.h"

#include <functional>
#include <random>
#include <vector>

namespace {

int xar_capacity(const void *elements) {
    xar_header *header = xar_header_of(elements);
    return xar_element_bytes(header) / header->element_size;
}

// Header and trailer, the count, and zero bytes behind the elements in use.
void check_xar(const void *elements) {
    ASSERT_TRUE(xar_is_valid(elements));
    xar_header *header = xar_header_of(elements);
    const int count = xar_trailer_of(header)->count;
    ASSERT_GE(count, 0);
    ASSERT_LE(count, xar_capacity(elements));
    const char *bytes = static_cast<const char *>(elements);
    EXPECT_TRUE(std::all_of(bytes + count * header->element_size, bytes + xar_element_bytes(header),
                            [](char c) { return c == 0; }));
}

TEST(Xar, Creation) {
    const struct {
        int count, element_size, step, stored_step, capacity;
    } rows[] = {
        {0, 4, 100, 100, 2}, {0, 127, 1, 2, 1},           {0, 128, 1, 1, 1},
        {3, 3, 1, 1, 5},     {31, 65535, 8191, 8191, 31}, {2047984, 1, 9000, 8191, 2047984},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.element_size);
        void *array = xar_alloc(row.count, row.element_size, row.step);
        check_xar(array);
        int step = -1, count = -1, maximum = -1;
        xar_params(&array, nullptr, &step, &count, &maximum);
        EXPECT_EQ(step, row.stored_step);
        EXPECT_EQ(count, row.count);
        EXPECT_EQ(maximum, 2047984 / row.element_size);
        EXPECT_EQ(xar_capacity(array), row.capacity);
        xar_free(&array);
        EXPECT_EQ(array, nullptr);
    }
}

// The 1-based numbers of the elements at whose append an array of ints moves, up to `last`.
std::vector<int> moves_until(int last) {
    std::vector<int> moves;
    int *array = xar_alloc_of<int>(0, 100);
    for (int i = 1; i <= last; ++i) {
        if (xar_count(&array) == xar_capacity(array)) {
            moves.push_back(i);
        }
        xar_append(&array, 1, &i);
    }
    EXPECT_EQ(int_in_list(last, array), last - 1);
    xar_free(&array);
    return moves;
}

TEST(Xar, GrowthWidensUnlessTheThreadsSwitchesSayOtherwise) {
    set_force_ext_no(1);
    std::thread([] {
        EXPECT_EQ(moves_until(1086), (std::vector<int>{3, 103, 233, 393, 593, 823}));
        set_force_ignore_reloc_cnt(1);
        EXPECT_EQ(moves_until(302), (std::vector<int>{3, 103, 203}));
    }).join();
    EXPECT_EQ(moves_until(7), (std::vector<int>{3, 5, 7})); // blocks grow by whole 8 bytes
    EXPECT_EQ(get_force_ignore_reloc_cnt(), 0);
    set_force_ext_no(0);
}

// The count of moves and the step saturate: both would soon leave their fields otherwise.
TEST(Xar, MoveCountAndStepSaturate) {
    for (const int moves : {30, 150, 5000, 32767}) {
        char *array = xar_alloc_of<char>(8, 8191);
        xar_trailer_of(xar_header_of(array))->zone = static_cast<std::int16_t>(-1 - moves);
        EXPECT_NE(xar_extend(&array, 1), nullptr);
        check_xar(array);
        EXPECT_EQ(xar_trailer_of(xar_header_of(array))->zone, moves == 32767 ? -32768 : -2 - moves);
        EXPECT_EQ(xar_capacity(array), moves == 30 ? 713208 : 2047984);
        xar_free(&array);
    }
}

// Does one random thing to an array and to its model. Without memory the array is as it was.
void change_at_random(std::mt19937 &random, void **array, std::vector<char> &model) {
    const std::size_t size = xar_header_of(*array)->element_size;
    const std::size_t count = model.size() / size;
    const std::size_t first = random() % (count + 1);
    std::vector<char> added(std::min<std::size_t>(random() % 12, count - first) * size);
    const void *source = nullptr; // zero elements
    const unsigned kind = random() % 4;
    if (kind == 0) { // from the array itself, which may move
        source = static_cast<char *>(*array) + first * size;
        std::copy_n(model.data() + first * size, added.size(), added.begin());
    } else if (kind == 1) {
        added.resize(random() % 12 * size);
        std::generate(added.begin(), added.end(), std::ref(random));
        source = added.data();
    }
    fail_allocation(static_cast<long>(random() % 4), false);
    if (kind == 3) {
        EXPECT_EQ(xar_resize(array, static_cast<int>(random() % (2 * count + 2))), 0);
        model.resize(static_cast<std::size_t>(xar_count(array)) * size);
    } else if (xar_append(array, static_cast<int>(added.size() / size), source) != nullptr) {
        model.insert(model.end(), added.begin(), added.end());
    }
    fail_allocation(NO_FAILURE, false);
}

// The old block of a zone array that has moved stays with the zone, and once passed for a live
// array.
TEST(Xar, RandomOperationsAgreeWithAVector) {
    const int zone = zone_open(4 << 20);
    std::mt19937 random(1);
    for (const int owner : {-1, zone}) {
        for (const int size : {1, 3, 8, 13, 200}) {
            void *array = zone_xar_alloc(owner, 0, size, 3);
            std::vector<char> model;
            for (int i = 0; i < 400; ++i) {
                void *const old = array;
                change_at_random(random, &array, model);
                check_xar(array);
                ASSERT_EQ(static_cast<int>(model.size()), xar_count(&array) * size);
                ASSERT_TRUE(std::equal(model.begin(), model.end(), static_cast<char *>(array)));
                if (owner == zone && array != old) {
                    EXPECT_FALSE(xar_is_valid(old));
                }
            }
            xar_free(&array);
        }
    }
    zone_close(zone);
}

// 31 of them fill a chunk.
struct element {
    int value;
    char filler[65000];
};
constexpr int SIZE = sizeof(element);
constexpr int LIMIT = XAR_LIMIT_BYTES / SIZE;

// Element i lies in chunk i / LIMIT.
void check_har(void ***top, const std::vector<int> &model) {
    const int size = static_cast<int>(model.size());
    int chunk = -1, offset = -1;
    for (int i = 0; i < size; ++i) {
        const auto *found = static_cast<element *>(har_access(top, i, &chunk, &offset));
        ASSERT_EQ(found->value, model[static_cast<std::size_t>(i)]);
        ASSERT_EQ(found, static_cast<element *>((*top)[i / LIMIT]) + i % LIMIT);
        ASSERT_EQ(chunk, i / LIMIT);
        ASSERT_EQ(offset, i % LIMIT);
    }
    for (const int outside : {-1, size, size + LIMIT, INT32_MAX}) {
        EXPECT_EQ(har_access(top, outside, &chunk, &offset), nullptr);
        EXPECT_EQ(chunk, -1);
        EXPECT_EQ(offset, -1);
    }
}

// Memory may run out anywhere: either everything was appended or nothing.
TEST(Har, RandomOperationsAgreeWithAVector) {
    std::mt19937 random(5);
    for (int round = 0; round < 30; ++round) {
        void **top = har_alloc(SIZE, 100);
        EXPECT_EQ(xar_step(xar_header_of(top[0])), 0x30000 / SIZE); // wide steps are cut
        std::vector<int> model;
        for (int i = 0; i < 15; ++i) {
            const std::size_t room = LIMIT - model.size() % LIMIT;
            std::vector<element> source(random() % 2 == 0 ? room : random() % (2 * LIMIT));
            for (element &one : source) {
                one.value = static_cast<int>(random());
            }
            const long failing = static_cast<long>(random() % 8);
            fail_allocation(failing < 5 ? failing : NO_FAILURE, false);
            const bool appended = har_append(&top, static_cast<int>(source.size()), source.data());
            const bool inflated = har_inflate(&top) != nullptr;
            fail_allocation(NO_FAILURE, false);
            if (failing >= 5) {
                ASSERT_TRUE(appended);
                ASSERT_TRUE(inflated);
            }
            for (const element &one : source) {
                model.insert(model.end(), appended ? 1 : 0, one.value);
            }
            model.insert(model.end(), inflated ? 1 : 0, 0);
            check_har(&top, model);
        }
        har_free(&top);
    }
}

// A chunk was lost when exhausted memory jumped to a frame of the caller.
TEST(Har, ATrapLeavesNoChunkBehind) {
    static void **top = nullptr;
    rlsmem(getmem(1)); // what a process makes once is there
    constexpr void (*REQUESTS[])() = {
        [] { top = har_alloc(SIZE, 1); },
        [] { har_append(&top, 3 * LIMIT, nullptr); },
    };
    for (const auto request : REQUESTS) {
        const std::int64_t blocks = live_blocks();
        bool done = false;
        for (int nth = 0; !done; ++nth) {
            fail_allocation(nth, true);
            done = call_with_memory_trap(request);
            fail_allocation(NO_FAILURE, false);
            EXPECT_EQ(live_blocks() == blocks, !done) << nth;
        }
    }
    check_har(&top, std::vector<int>(3 * LIMIT));
    har_free(&top);
}

} // namespace
