// Sorting of pointer arrays: order, stability of short arrays, cost, comparisons without sense.
#include <algorithm>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "coretools/ctmemmgr/sort_pointers.h"

namespace {

int compare_values(const void *a, const void *b) {
    const int left = *static_cast<const int *>(a);
    const int right = *static_cast<const int *>(b);
    return left < right ? -1 : left > right;
}

bool sorts_before(const void *a, const void *b) {
    return compare_values(a, b) < 0;
}

int compare_counting(const void *a, const void *b, void *calls) {
    ++*static_cast<long *>(calls);
    return compare_values(a, b);
}

// Mostly "before": scans that trust it run far.
int answer_anything(const void *, const void *, void *random) {
    return (*static_cast<std::mt19937 *>(random))() % 8 == 0 ? 1 : -1;
}

// No comparison may lead outside the array or lose an element.
TEST(SortPointers, AgreesWithStableSort) {
    std::mt19937 random(9);
    for (int i = 0; i < 3000; ++i) {
        std::vector<int> values(random() % (i % 2 == 0 ? 13 : 300));
        const unsigned kinds = 1 + random() % 40;
        std::vector<const void *> pointers;
        for (int &value : values) {
            value = static_cast<int>(random() % kinds);
            pointers.push_back(&value);
        }
        const int count = static_cast<int>(values.size());
        std::vector<const void *> expected = pointers;
        std::stable_sort(expected.begin(), expected.end(), sorts_before);
        std::vector<const void *> sorted = pointers;
        sort_pointers(count, compare_values, sorted.data());
        ASSERT_TRUE(count >= 10 || sorted == expected);
        ASSERT_TRUE(std::is_sorted(sorted.begin(), sorted.end(), sorts_before));
        std::vector<const void *> anyhow = pointers;
        sort_pointers_with_data(count, answer_anything, anyhow.data(), &random);
        for (auto &result : {sorted, anyhow}) {
            ASSERT_TRUE(std::is_permutation(result.begin(), result.end(), pointers.begin()));
        }
    }
}

TEST(SortPointers, OrderedInputIsNotQuadratic) {
    constexpr int COUNT = 20000;
    for (const int factor : {1, -1, 0}) {
        std::vector<int> values(COUNT);
        std::vector<const void *> pointers;
        for (int &value : values) {
            value = factor * static_cast<int>(pointers.size());
            pointers.push_back(&value);
        }
        long calls = 0;
        quick_sort_with_data(1, COUNT - 1, compare_counting, pointers.data(), &calls);
        EXPECT_LT(calls, 2L * COUNT * 15);
        EXPECT_EQ(pointers[0], &values[0]); // outside the range
    }
}

} // namespace
