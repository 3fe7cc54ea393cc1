// Chunked arrays against a plain vector, over many chunks, and with memory that runs out anywhere.
#include <algorithm>
#include <functional>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "coretools/ctmemmgr/har.h"
#include "coretools/ctmemmgr/xar.h"
#include "tests/coretools/ctmemmgr/xar_check.h"
#include "tests/support/failing_malloc.h"

namespace {

// 31 of them fill a chunk.
struct element {
    int value;
    char filler[65000];
};
constexpr int SIZE = sizeof(element);
constexpr int LIMIT = XAR_LIMIT_BYTES / SIZE;

// All chunks but the last are full, and the elements are those of the model.
void check_har(void ***top, const std::vector<int> &model) {
    const int size = static_cast<int>(model.size());
    const int chunks = xar_count(top);
    check_xar(*top);
    for (int i = 0; i < chunks; ++i) {
        check_xar((*top)[i]);
        ASSERT_EQ(xar_count(&(*top)[i]), i < chunks - 1 ? LIMIT : size - i * LIMIT);
    }
    int chunk = 0;
    int offset = 0;
    for (int i = 0; i < size; ++i) {
        const void *found = har_access(top, i, &chunk, &offset);
        ASSERT_EQ(static_cast<const element *>(found)->value, model[static_cast<std::size_t>(i)]);
        ASSERT_TRUE(chunk == i / LIMIT && offset == i % LIMIT);
    }
    for (const int outside : {-1, size, size + LIMIT, 0x7fffffff}) {
        EXPECT_EQ(har_access(top, outside, &chunk, &offset), nullptr);
        EXPECT_TRUE(chunk == -1 && offset == -1);
    }
}

// Appends numbered or zero elements, or inflates by one; to the model too when that succeeded.
void grow(void ***top, std::vector<int> &model, int count, char how) {
    std::vector<element> source(static_cast<std::size_t>(count));
    for (element &one : source) {
        one.value = how == 'n' ? static_cast<int>(model.size() + 1 + (&one - source.data())) : 0;
    }
    const void *from = how == 'n' ? source.data() : nullptr;
    const bool grown = how == 'i' ? har_inflate(top) != nullptr : har_append(top, count, from) == 1;
    if (grown) {
        std::transform(source.begin(), source.end(), std::back_inserter(model),
                       std::mem_fn(&element::value));
    }
}

// Memory may run out anywhere: either everything was appended or nothing.
TEST(Har, RandomOperationsAgreeWithAVector) {
    std::mt19937 random(5);
    for (int round = 0; round < 30; ++round) {
        void **top = har_alloc(SIZE, 100);
        int step = 0;
        xar_params(&top[0], nullptr, &step, nullptr, nullptr);
        EXPECT_EQ(step, 0x30000 / SIZE); // wide steps are cut
        std::vector<int> model;
        for (int i = 0; i < 15; ++i) {
            const char how = "inz"[random() % 3];
            const int to_the_limit = LIMIT - static_cast<int>(model.size()) % LIMIT;
            const int any = static_cast<int>(random() % (2 * LIMIT));
            fail_allocation(static_cast<long>(random() % 5), false);
            grow(&top, model, how == 'i' ? 1 : random() % 2 == 0 ? to_the_limit : any, how);
            fail_allocation(NO_FAILURE, false);
            check_har(&top, model);
        }
        har_free(&top);
        har_free(&top); // no array is no error
        EXPECT_EQ(har_access(&top, 0, nullptr, nullptr), nullptr);
        EXPECT_EQ(har_inflate(&top), nullptr);
    }
}

} // namespace
