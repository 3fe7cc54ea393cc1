// Extensible arrays: shapes, growth, random operations against a vector, misuse, exhausted memory.
#include <algorithm>
#include <climits>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctmemmgr/zones.h"
#include "tests/coretools/ctmemmgr/xar_check.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_malloc.h"

namespace {

TEST(Xar, Creation) {
    struct {
        int count, element_size, step, stored_step, capacity;
    } const rows[] = {
        {0, 4, 100, 100, 2}, {0, 127, 1, 2, 1},           {0, 128, 1, 1, 1},
        {3, 3, 1, 1, 5},     {31, 65535, 8191, 8191, 31}, {2047984, 1, 9000, 8191, 2047984},
    };
    for (const auto &row : rows) {
        void *array = xar_alloc(row.count, row.element_size, row.step);
        check_xar(array);
        int step = 0;
        int maximum = 0;
        xar_params(&array, nullptr, &step, nullptr, &maximum);
        EXPECT_EQ(step, row.stored_step);
        EXPECT_EQ(maximum, 2047984 / row.element_size);
        EXPECT_EQ(xar_count(&array), row.count);
        EXPECT_EQ(xar_capacity(array), row.capacity);
        xar_free(&array);
        EXPECT_TRUE(xar_count(&array) == 0 && xar_append(&array, 0, nullptr) == nullptr);
        EXPECT_EQ(xar_resize(&array, 0), 0);
    }
    EXPECT_EQ(xar_alloc(0, 4, 0), nullptr);
    EXPECT_EQ(int_in_list(0, nullptr), -1);
}

// The 1-based numbers of the elements at whose append an array of ints moves, up to `last`.
std::vector<int> moves_until(int last) {
    std::vector<int> moves;
    int *array = xar_alloc_of<int>(0, 100);
    for (int i = 1; i <= last; ++i) {
        const int capacity = xar_capacity(array);
        xar_append(&array, 1, &i);
        if (xar_capacity(array) != capacity) {
            moves.push_back(i);
        }
    }
    EXPECT_EQ(int_in_list(last, array), last - 1);
    xar_free(&array);
    return moves;
}

TEST(Xar, GrowthWidensUnlessTheThreadsSwitchesSayOtherwise) {
    set_force_ext_no(1);
    std::thread other([] {
        EXPECT_EQ(moves_until(1086), (std::vector<int>{3, 103, 233, 393, 593, 823}));
        const std::int64_t blocks = get_memory_statistics().num_blocks;
        for (int nth = 0; get_force_ignore_reloc_cnt() == 0; ++nth) {
            fail_allocation(nth, true);
            set_force_ignore_reloc_cnt(1);
            fail_allocation(NO_FAILURE, false);
        }
        EXPECT_EQ(get_memory_statistics().num_blocks, blocks + 1);
        EXPECT_EQ(moves_until(302), (std::vector<int>{3, 103, 203}));
    });
    other.join();
    EXPECT_EQ(moves_until(7), (std::vector<int>{3, 5, 7})); // blocks grow by whole 8 bytes
    EXPECT_EQ(get_force_ignore_reloc_cnt(), 0);
    set_force_ext_no(0);
}

// The environment is read once: a process of its own.
TEST(XarDeathTest, EmptyArraysHaveNoRoomWhenDebugged) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    setenv("DEBUG_XAR", "", 1);
    const auto moves_at_once = [] {
        int *array = xar_alloc_of<int>(0, 100);
        const int before = xar_capacity(array);
        xar_append(&array, 1, nullptr);
        std::exit(before == 0 && xar_capacity(array) == 100 ? 0 : 1);
    };
    EXPECT_EXIT(moves_at_once(), testing::ExitedWithCode(0), "");
    unsetenv("DEBUG_XAR");
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

// One random operation on the array and, when there was memory for it, on its model.
void random_step(std::mt19937 &random, void *&array, std::vector<char> &model, int size) {
    const auto below = [&random](int limit) {
        return static_cast<int>(random() % unsigned(limit));
    };
    const int count = xar_count(&array);
    int changed = below(12);
    std::vector<char> added(static_cast<std::size_t>(changed * size));
    bool done = true;
    fail_allocation(below(4), false);
    switch (below(4)) {
    case 0: { // copies from the array itself, which may move
        const int first = below(count + 1);
        changed = std::min(changed, count - first);
        added.assign(model.begin() + first * size, model.begin() + (first + changed) * size);
        void *from = static_cast<char *>(array) + first * size;
        done = xar_append(&array, changed, from) != nullptr;
        break;
    }
    case 1:
        std::generate(added.begin(), added.end(), std::ref(random));
        done = xar_append(&array, changed, added.data()) != nullptr;
        break;
    case 2:
        done = xar_extend(&array, changed) != nullptr;
        break;
    default:
        changed = below(2 * count + 2) - count;
        added.resize(static_cast<std::size_t>(std::max(changed, 0) * size));
        done = xar_resize(&array, count + changed) == 0;
        model.resize(model.size() - static_cast<std::size_t>(std::max(-changed, 0) * size));
    }
    fail_allocation(NO_FAILURE, false);
    if (done) {
        model.insert(model.end(), added.begin(), added.end());
    }
}

TEST(Xar, RandomOperationsAgreeWithAVector) {
    const int zone = zone_open(4 << 20);
    std::mt19937 random(1);
    for (const int size : {1, 3, 8, 13, 200}) {
        for (const int owner : {-1, zone}) {
            void *array = zone_xar_alloc(owner, 0, size, 3);
            std::vector<char> model;
            for (int i = 0; i < 400; ++i) {
                random_step(random, array, model, size);
                check_xar(array);
                ASSERT_EQ(model.size(), static_cast<std::size_t>(xar_count(&array) * size));
                ASSERT_TRUE(std::equal(model.begin(), model.end(), static_cast<char *>(array)));
            }
            xar_free(&array);
        }
    }
    zone_close(zone);
}

// Growth beyond the limit and exhausted memory are no misuse: without a trap frame they are refused
// and change nothing.
TEST(Xar, MisuseIsFatal) {
    struct {
        int status;
        const char *report;
        void (*misuse)(int *array);
    } const rows[] = {
        {2, "XAR_ALLOC:  invalid request", [](int *) { (void)xar_alloc(1, 65536, 1); }},
        {2, "XAR_ALLOC:  too big array", [](int *) { (void)xar_alloc(2047985, 1, 1); }},
        {2, "XAR_EXTEND:  invalid array", [](int *) { xar_append((int **)nullptr, 1, nullptr); }},
        {2, "XAR_EXTEND:  invalid request", [](int *a) { xar_extend(&a, -1); }},
        {2, "XAR_SHRINK:  invalid request", [](int *a) { xar_shrink(&a, 3); }},
        {2, "XAR_RESIZE:  invalid array", [](int *a) { xar_resize(&(a = nullptr), 1); }},
        {2, "XAR_RESIZE:  invalid request", [](int *a) { xar_resize(&a, -1); }},
        {2, "XAR_COUNT:  invalid array", [](int *a) { *(a - 2) = -1, xar_count(&a); }},
        {2, "XAR_LAST:  invalid array", [](int *a) { a[2] = -1, xar_last(&a); }},
        {2, "XAR_FREE:  invalid array", [](int *a) { xar_free(&++a); }},
        {2, "XAR_PARAMS:  invalid array",
         [](int *a) { xar_params(&++a, nullptr, nullptr, nullptr, nullptr); }},
        {0, " XAR_PRE_RELOC:  too big array", [](int *a) { xar_extend(&a, 511995), check_xar(a); }},
        {0, " XAR_PRE_RELOC:  too big array",
         [](int *a) { xar_extend(&a, INT_MAX), check_xar(a); }},
        {0, "XAR_ALLOC:  out of memory",
         [](int *) {
             fail_allocation(0, true);
             EXPECT_EQ(xar_alloc(9000, 4, 1), nullptr);
         }},
        {0, " XAR_EXTEND:  out of memory",
         [](int *a) {
             fail_allocation(0, true);
             EXPECT_EQ(xar_extend(&a, 9000), nullptr);
             check_xar(a);
         }},
    };
    for (const auto &row : rows) {
        const auto child = run_in_child([&row] {
            row.misuse(xar_alloc_of<int>(2, 1));
            std::exit(testing::Test::HasFailure() ? 1 : 0);
        });
        EXPECT_EQ(child.status, row.status) << row.report;
        EXPECT_NE(("\n" + child.out).find("\n" + std::string(row.report) + "\n"), std::string::npos)
            << row.report << child.out;
    }
}

} // namespace
