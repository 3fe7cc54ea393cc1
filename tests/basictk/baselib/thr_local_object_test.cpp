// Thread-local objects: values by thread, and the order in which indexes come back.
#include "basictk/baselib/inc/thrLocalObject.h"
#include "basictk/baselib/inc/thrMutex.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

#include <barrier>
#include <memory>
#include <random>

namespace {

// The rules for indexes on a plain list: reuse last in first out, and a last index that goes takes
// with it the free ones below it.
struct IndexModel {
    int next = 0;
    std::vector<int> given_back;

    int take() {
        if (!given_back.empty()) {
            const int index = given_back.back();
            given_back.pop_back();
            return index;
        }
        return next++;
    }

    void give_back(int index) {
        given_back.push_back(index);
        while (index == next - 1 && std::erase(given_back, index) != 0) {
            --next;
            --index;
        }
    }
};

TEST(ThrLocalObject, IndexesAreReusedInTheSettledOrder) {
    thrLocalObjectManager manager;
    IndexModel model;
    std::vector<std::unique_ptr<thrLocalObject>> objects;
    std::mt19937 random(11);
    for (int step = 0; step < 5000; ++step) {
        if (objects.empty() || random() % 100 < (step / 500 % 2 == 0 ? 70U : 30U)) {
            objects.push_back(std::make_unique<thrLocalObject>(&manager));
            ASSERT_EQ(objects.back()->Index(), model.take()) << "step " << step;
            ASSERT_EQ(objects.back()->GetData(), nullptr) << "step " << step;
            ASSERT_TRUE(objects.back()->SetData(&model));
        } else {
            std::swap(objects[random() % objects.size()], objects.back());
            model.give_back(objects.back()->Index());
            objects.pop_back();
        }
    }
}

TEST(ThrLocalObject, EachThreadHasItsValueAndTheNextOwnerReadsNull) {
    thrLocalObject *keep = thrLocalObject_Create(); // the manager outlives the objects below
    thrLocalObject *object = thrLocalObject_Create();
    const int index = object->Index();
    std::barrier sync(3);
    run_on_threads(3, [&](int number) {
        int mine = 0;
        if (number != 0) { // thread 0 never stores
            EXPECT_TRUE(thrLocalObject_SetData(object, &mine));
        }
        sync.arrive_and_wait();
        EXPECT_EQ(thrLocalObject_GetData(object), number != 0 ? &mine : nullptr);
        sync.arrive_and_wait();
        if (number == 2) {
            delete object;
            object = thrLocalObject_Create();
        }
        sync.arrive_and_wait();
        EXPECT_EQ(thrLocalObject_GetData(object), nullptr);
    });
    EXPECT_EQ(object->Index(), index);
    delete object;
    delete keep;
}

// More objects than the first storage of a slot array holds, made and destroyed while the other
// threads lengthen theirs; the manager itself goes and comes again.
TEST(ThrLocalObject, ManyObjectsOnManyThreads) {
    run_on_threads(8, [](int number) {
        std::mt19937 random(static_cast<unsigned>(number));
        for (int round = 0; round < 20; ++round) {
            std::vector<thrLocalObject *> objects(20 + random() % 80);
            for (thrLocalObject *&object : objects) {
                object = thrLocalObject_Create();
                ASSERT_EQ(thrLocalObject_GetData(object), nullptr);
                ASSERT_TRUE(thrLocalObject_SetData(object, &object));
            }
            for (thrLocalObject *&object : objects) {
                ASSERT_EQ(thrLocalObject_GetData(object), &object);
                delete object;
            }
        }
    });
}

// The nth allocation fails: an object is either whole or null, and what was made goes away again.
TEST(ThrLocalObject, WithoutMemoryNothingIsHalfMade) {
    run_on_threads(1, [](int) {
        bool stored = false;
        for (int nth = 0; nth < 20; ++nth) {
            fail_allocation(nth, true);
            thrMutex *mutex = thrMutex_Create();
            thrLocalObject *object = thrLocalObject_Create();
            stored = thrLocalObject_SetData(object, &stored);
            fail_allocation(NO_FAILURE, false);
            EXPECT_EQ(thrLocalObject_GetData(object), stored ? &stored : nullptr) << nth;
            thrMutex_Lock(mutex);
            thrMutex_Unlock(mutex);
            delete mutex;
            delete object;
        }
        EXPECT_TRUE(stored);
    });
}

} // namespace
