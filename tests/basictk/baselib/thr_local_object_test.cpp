// Thread-local objects: values by thread, and the order in which indexes come back.
#include "basictk/baselib/inc/thrLocalObject.h"
#include "tests/basictk/baselib/threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <barrier>
#include <memory>
#include <random>

namespace {

// The rules for indexes once more, on a plain list.
struct IndexModel {
    int next = 0;
    std::vector<int> given_back;
    std::vector<int> live;

    int take() {
        int index = next;
        if (given_back.empty()) {
            ++next;
        } else {
            index = given_back.back();
            given_back.pop_back();
        }
        live.push_back(index);
        return index;
    }

    void give_back(int index) {
        std::erase(live, index);
        given_back.push_back(index);
        for (bool lowered = index == next - 1; lowered;) {
            lowered = std::erase(given_back, next - 1) != 0;
            next -= lowered ? 1 : 0;
        }
        if (live.empty()) {
            *this = {};
        }
    }
};

TEST(ThrLocalObject, IndexesAreReusedInTheSettledOrder) {
    thrLocalObjectManager manager;
    IndexModel model;
    std::vector<std::unique_ptr<thrLocalObject>> objects;
    std::mt19937 random(11);
    for (int step = 0; step < 5000; ++step) {
        const std::size_t wanted = step / 500 % 2 == 0 ? 100 : 0;
        if (objects.size() < wanted || objects.empty() || random() % 4 == 0) {
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

TEST(ThrLocalObject, EachThreadHasItsValueAndALaterObjectReadsNull) {
    thrLocalObject *keep = thrLocalObject_Create(); // the manager outlives the objects below
    thrLocalObject *first = thrLocalObject_Create();
    thrLocalObject *second = nullptr;
    const int index = first->Index();
    std::barrier sync(3);
    const auto body = [&](int number) {
        int mine = 0;
        EXPECT_EQ(thrLocalObject_GetData(first), nullptr);
        sync.arrive_and_wait();
        if (number != 0) { // thread 0 never stores
            EXPECT_TRUE(thrLocalObject_SetData(first, &mine));
        }
        sync.arrive_and_wait();
        EXPECT_EQ(thrLocalObject_GetData(first), number != 0 ? &mine : nullptr);
        sync.arrive_and_wait();
        if (number == 2) {
            delete first;
            second = thrLocalObject_Create();
        }
        sync.arrive_and_wait();
        EXPECT_EQ(second->Index(), index);
        EXPECT_EQ(thrLocalObject_GetData(second), nullptr);
    };
    on_threads(3, body);
    delete second;
    delete keep;
    EXPECT_EQ(thrLocalObject_GetData(nullptr), nullptr);
    EXPECT_FALSE(thrLocalObject_SetData(nullptr, &sync));
}

// More objects than the first storage of a slot array holds, made and destroyed while the other
// threads lengthen theirs; the manager itself goes and comes again.
TEST(ThrLocalObject, ManyObjectsOnManyThreads) {
    on_threads(8, [](int number) {
        std::mt19937 random(static_cast<unsigned>(number));
        for (int round = 0; round < 20; ++round) {
            std::vector<thrLocalObject *> objects(20 + random() % 80);
            for (thrLocalObject *&object : objects) {
                object = thrLocalObject_Create();
                ASSERT_EQ(thrLocalObject_GetData(object), nullptr);
                ASSERT_TRUE(thrLocalObject_SetData(object, &object));
            }
            std::shuffle(objects.begin(), objects.end(), random);
            for (thrLocalObject *object : objects) {
                auto **value = static_cast<thrLocalObject **>(thrLocalObject_GetData(object));
                ASSERT_GE(value, objects.data());
                ASSERT_LT(value, objects.data() + objects.size());
                delete object;
            }
        }
    });
}

} // namespace
