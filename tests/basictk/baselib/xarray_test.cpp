// The growable array against std::vector, and its ordered form against std::map.
#include "basictk/baselib/inc/btkXArray.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

int smallest_capacity(int count) {
    int capacity = 64;
    while (capacity < count) {
        capacity *= 2;
    }
    return capacity;
}

TEST(XArray, RandomOperationsLikeAVector) {
    btkXArray<int> array;
    std::vector<int> model;
    std::mt19937 random(3);
    for (int step = 0; step < 20000; ++step) {
        const int size = static_cast<int>(model.size());
        const int capacity = array.Capacity();
        const int index = static_cast<int>(random() % static_cast<unsigned>(size + 1));
        int n = static_cast<int>(random() % 40);
        const int values[40] = {step, step + 1, static_cast<int>(random())};
        const bool growing = step / 1000 % 2 == 0;
        const unsigned kind = random() % 8;
        if (kind == 0) {
            ASSERT_TRUE(array.Append(step));
            model.push_back(step);
        } else if (kind == 1) {
            n = std::min(n, size - index);
            ASSERT_TRUE(array._Replace(index, n, values));
            std::copy_n(values, n, model.begin() + index);
        } else if (kind < (growing ? 6U : 3U)) {
            const bool cleared = kind == 2;
            ASSERT_TRUE(array._Insert(index, n, cleared ? nullptr : values));
            const std::vector<int> zeros(40);
            const int *from = cleared ? zeros.data() : values;
            model.insert(model.begin() + index, from, from + n);
        } else {
            n = std::min(n, size - index);
            ASSERT_TRUE(array._Remove(index, n));
            model.erase(model.begin() + index, model.begin() + index + n);
            const int fit = n == 0 ? capacity : smallest_capacity(array.Count());
            ASSERT_EQ(array.Capacity(), std::min(capacity, fit));
        }
        ASSERT_EQ(array.Count(), static_cast<int>(model.size()));
        ASSERT_GE(array.Capacity(), smallest_capacity(array.Count()));
        ASSERT_TRUE(std::equal(model.begin(), model.end(), &array[0])) << "step " << step;
    }
    array._FreeAllElems();
    EXPECT_EQ(array.Count(), 0);
    EXPECT_EQ(array.Capacity(), 64);
}

TEST(XArray, RefusesWrongRangesAndImpossibleSizes) {
    btkXArray<int> array;
    const int values[] = {1, 2, 3};
    ASSERT_TRUE(array._Insert(0, 3, values));
    const struct {
        int index;
        int n;
    } ranges[] = {{-1, 1}, {0, -1}, {0, 4}, {3, 1}, {4, 0}, {2, INT_MAX}, {INT_MAX, INT_MAX}};
    for (const auto &range : ranges) {
        EXPECT_FALSE(array._Remove(range.index, range.n)) << range.index << ' ' << range.n;
        EXPECT_FALSE(array._Replace(range.index, range.n, values));
    }
    EXPECT_FALSE(array._Insert(4, 1, values));
    EXPECT_FALSE(array._Insert(0, -1, values));
    EXPECT_FALSE(array._Insert(0, INT_MAX, nullptr));
    EXPECT_FALSE(array._Reallocate(INT_MAX - 3));
    EXPECT_EQ(array.Count(), 3);
    EXPECT_EQ(array[2], 3);
}

TEST(XArray, KeepsOrderByKey) {
    struct Row {
        const char *name;
        void *object;
    };
    btkClassXArrayImpl array(sizeof(Row), btkClassXArrayImpl::Cmp_cStrings);
    std::map<std::string, void *> model;
    std::vector<std::unique_ptr<std::string>> names;
    std::mt19937 random(5);
    for (int i = 0; i < 300; ++i) {
        names.push_back(std::make_unique<std::string>(std::to_string(random() % 400)));
        const Row row{names.back()->c_str(), names.back().get()};
        EXPECT_EQ(array.Add(&row), model.emplace(*names.back(), row.object).second);
    }
    ASSERT_EQ(array.Count(), static_cast<int>(model.size()));
    int index = 0;
    for (const auto &[name, object] : model) {
        bool found = false;
        EXPECT_EQ(array.Find(name.c_str(), &found), index);
        EXPECT_TRUE(found);
        EXPECT_EQ(static_cast<Row *>(array._Elem(index))->object, object);
        ++index;
    }
    bool found = true;
    EXPECT_EQ(array.Find("~", &found), array.Count());
    EXPECT_FALSE(found);
}

} // namespace
