// The growable array against std::vector.
#include "basictk/baselib/inc/btkXArray.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <climits>
#include <random>
#include <vector>

namespace {

int smallest_capacity(int count) {
    return std::max(64, static_cast<int>(std::bit_ceil(static_cast<unsigned>(count))));
}

TEST(XArray, RandomOperationsLikeAVector) {
    btkXArray<int> array(1000);
    EXPECT_EQ(array.Capacity(), 1024);
    array._FreeAllElems();
    EXPECT_EQ(array.Capacity(), 64);
    std::vector<int> model;
    std::mt19937 random(3);
    for (int step = 0; step < 20000; ++step) {
        const int size = static_cast<int>(model.size());
        const int index = static_cast<int>(random() % static_cast<unsigned>(size + 1));
        int n = static_cast<int>(random() % 40);
        const int values[40] = {step, step + 1, static_cast<int>(random())};
        int capacity = std::max(array.Capacity(), smallest_capacity(size));
        const unsigned kind = random() % 8;
        if (kind == 0) {
            ASSERT_TRUE(array.Append(step));
            model.push_back(step);
        } else if (kind == 1) {
            n = std::min(n, size - index);
            ASSERT_TRUE(array._Replace(index, n, values));
            std::copy_n(values, n, model.begin() + index);
        } else if (kind < (step / 1000 % 2 == 0 ? 6U : 3U)) {
            const int zeros[40] = {};
            const int *from = kind == 2 ? zeros : values;
            ASSERT_TRUE(array._Insert(index, n, kind == 2 ? nullptr : values));
            model.insert(model.begin() + index, from, from + n);
        } else {
            n = std::min(n, size - index);
            ASSERT_TRUE(array._Remove(index, n));
            model.erase(model.begin() + index, model.begin() + index + n);
            capacity = smallest_capacity(size - n);
        }
        ASSERT_EQ(array.Count(), static_cast<int>(model.size()));
        ASSERT_EQ(array.Capacity(), std::max(capacity, smallest_capacity(array.Count())));
        ASSERT_TRUE(std::equal(model.begin(), model.end(), &array[0])) << "step " << step;
    }
    array._FreeAllElems();
    EXPECT_EQ(array.Capacity(), 64);
}

TEST(XArray, RefusesWrongRangesAndImpossibleSizes) {
    btkXArray<int> array;
    const int values[3] = {};
    ASSERT_TRUE(array._Insert(0, 3, nullptr));
    const int ranges[][2] = {{-1, 1}, {0, -1}, {0, 4}, {3, 1}, {4, 0}, {2, INT_MAX}};
    for (const auto &[index, n] : ranges) {
        EXPECT_FALSE(array._Remove(index, n)) << index << ' ' << n;
        EXPECT_FALSE(array._Replace(index, n, values)) << index << ' ' << n;
    }
    EXPECT_FALSE(array._Insert(4, 1, values) || array._Insert(0, -1, values));
    EXPECT_FALSE(array._Insert(0, INT_MAX, nullptr));
    EXPECT_EQ(array.Count(), 3);
}

TEST(XArray, KeepsOrderByKey) {
    btkClassXArrayImpl array(sizeof(const char *), btkClassXArrayImpl::Cmp_cStrings);
    for (const char *name : {"d", "b", "a", "e"}) {
        EXPECT_TRUE(array.Add(&name));
        EXPECT_FALSE(array.Add(&name));
    }
    for (int place = 0; const char *name : {"a", "b", "d", "e", "f"}) {
        bool found = false;
        EXPECT_EQ(array.Find(name, &found), place);
        EXPECT_EQ(found, place++ < array.Count());
    }
}

} // namespace
