// The base toolkit: memory managers, the growable array, and start-up objects.
#include "basictk/baselib/inc/btkMemMgr.h"
#include "basictk/baselib/inc/btkStartUp.h"
#include "basictk/baselib/inc/btkXArray.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/threads.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include <gtest/gtest.h>

namespace {

// Every byte of a block holds a mark of its address, so that two blocks that overlap show.
TEST(MemoryManagers, BlocksNeverOverlap) {
    run_on_threads(4, [](int number) {
        btkMemMgr *manager = number % 2 == 0 ? pStringMemMgr : pBlkObjMemMgr;
        std::mt19937 random(static_cast<unsigned>(number));
        std::vector<unsigned char *> blocks;
        const auto mark_of = [](unsigned char *block) {
            return static_cast<unsigned char>(reinterpret_cast<std::uintptr_t>(block) >> 3);
        };
        for (int step = 0; step < 20000 || !blocks.empty(); ++step) {
            if (step < 20000 && random() % 1000 < (step / 4000 % 2 == 0 ? 600U : 400U)) {
                const std::size_t size = random() % (std::size_t{1} << random() % 17);
                const int alignment = 1 << random() % 10;
                auto *block = static_cast<unsigned char *>(manager->AllocMem(size, alignment));
                ASSERT_NE(block, nullptr);
                ASSERT_EQ(reinterpret_cast<std::intptr_t>(block) % alignment, 0) << size;
                ASSERT_GE(manager->GetSize(block), size);
                std::memset(block, mark_of(block), manager->GetSize(block));
                blocks.push_back(block);
            } else if (!blocks.empty()) {
                std::swap(blocks[random() % blocks.size()], blocks.back());
                unsigned char *block = blocks.back();
                ASSERT_EQ(block[0], mark_of(block));
                ASSERT_EQ(std::memcmp(block, block + 1, manager->GetSize(block) - 1), 0);
                manager->FreeMem(block);
                blocks.pop_back();
            }
        }
    });
}

// A block in use at the end goes with the manager, as a leak check sees.
TEST(MemoryManagers, FreedBlocksServeTheirClassAgain) {
    EXPECT_EQ(btkPoolMMgr::ClassOfSize(113), 24);
    EXPECT_EQ(btkPoolMMgr::ClassOfSize(32768), 152);
    btkPoolMMgr manager;
    for (const std::size_t size : {16U, 500U, 32768U}) {
        void *first = manager.AllocMem(size, 8);
        void *second = manager.AllocMem(size, 8);
        manager.FreeMem(first);
        EXPECT_EQ(manager.AllocMem(size - 1, 8), first) << size;
        EXPECT_NE(manager.AllocMem(size, 8), second) << size;
    }
    fail_allocation(0, false);
    EXPECT_EQ(manager.AllocMem(32769, 8), nullptr); // from malloc
    EXPECT_EQ(manager.AllocMem(SIZE_MAX - 8, 8), nullptr);
    EXPECT_EQ(manager.AllocMem(8, 24), nullptr);
    EXPECT_EQ(manager.AllocMem(8, 0), nullptr);
}

struct object : btkAllocated {
    int member = 7;
};

TEST(MemoryManagers, HeaderNamesManagerAndSize) {
    btkMemMgr *const no_manager = nullptr;
    for (btkMemMgr *manager : {pArrayMemMgr, no_manager}) {
        object *made = new (manager) object;
        EXPECT_EQ(reinterpret_cast<void **>(made)[-2], manager);
        EXPECT_EQ(reinterpret_cast<std::size_t *>(made)[-1], sizeof(object));
        delete made; // the wrong manager ends the process
    }
    fail_allocation(0, false);
    EXPECT_EQ(new (pDefMemMgr) object, nullptr); // its constructor would write
    EXPECT_EQ(btkNew(SIZE_MAX - 8, nullptr), nullptr);
}

TEST(XArray, RandomOperationsLikeAVector) {
    btkXArray<int> array(1000);
    EXPECT_EQ(array.Capacity(), 1024);
    array._FreeAllElems();
    EXPECT_EQ(array.Capacity(), 64);
    std::vector<int> model;
    std::mt19937 random(3);
    for (int step = 0; step < 20000; ++step) {
        const int index = static_cast<int>(random() % (model.size() + 1));
        const int room = static_cast<int>(random() % 40);
        const int n = std::min(room, array.Count() - index); // of those behind the index
        const int values[40] = {step, step + 1, static_cast<int>(random())};
        int capacity = array.Capacity();
        const unsigned kind = random() % 8;
        if (kind == 0) {
            ASSERT_TRUE(array.Append(step));
            model.push_back(step);
        } else if (kind == 1) {
            ASSERT_TRUE(array._Replace(index, n, values));
            std::copy_n(values, n, model.begin() + index);
        } else if (kind < (step / 1000 % 2 == 0 ? 6U : 3U)) {
            ASSERT_TRUE(array._Insert(index, room, kind == 2 ? nullptr : values));
            const auto place = model.insert(model.begin() + index, values, values + room);
            std::fill_n(place, kind == 2 ? room : 0, 0);
        } else {
            ASSERT_TRUE(array._Remove(index, n));
            model.erase(model.begin() + index, model.begin() + index + n);
            capacity = 64;
        }
        ASSERT_EQ(array.Count(), static_cast<int>(model.size()));
        ASSERT_EQ(array.Capacity(), std::max<int>(capacity, std::bit_ceil(model.size())));
        ASSERT_TRUE(std::equal(model.begin(), model.end(), &array[0])) << "step " << step;
    }
}

TEST(XArray, RefusesWrongRangesAndImpossibleSizes) {
    btkXArray<int> array;
    const int values[3] = {};
    ASSERT_TRUE(array._Insert(0, 3, nullptr));
    const int ranges[][2] = {{-1, 1}, {0, -1}, {0, 4}, {4, 0}, {2, INT32_MAX}};
    for (const auto &[index, n] : ranges) {
        EXPECT_FALSE(array._Remove(index, n)) << index << ' ' << n;
        EXPECT_FALSE(array._Replace(index, n, values)) << index << ' ' << n;
    }
    EXPECT_FALSE(array._Insert(4, 1, values));
    EXPECT_FALSE(array._Insert(0, -1, values));
    EXPECT_FALSE(array._Insert(0, INT32_MAX, nullptr));
    // An array that got no storage and was asked for more elements than an int counts once agreed
    // to hold them, and wrote through null.
    fail_allocation(0, false);
    btkXArray<char> without_storage;
    EXPECT_FALSE(without_storage._Insert(0, (1 << 30) + 1, nullptr));
    EXPECT_TRUE(without_storage.Append('a'));
}

// What runs after the destruction finds null pointers.
TEST(StartUp, NothingDanglesAfterDestruction) {
    const child_result child = run_in_child([] {
        btkDestroyStatics();
        EnableThreading();
        LockInitializationMutex();
        LockInitializationMutex();
        delete thrMutex_Create();
        EXPECT_EQ(pArrayMemMgr, nullptr);
        EXPECT_EQ(ioMiscInfo, nullptr);
        EXPECT_EQ(btkUBufMutex, nullptr);
        static btkStaticRecord first{[] { std::printf("first"); }};
        static btkStaticRecord second{[] { std::printf("second "); }};
        btkRecordStatic(&first);
        btkRecordStatic(&second);
        std::exit(0); // destroys what is on the list by then
    });
    EXPECT_EQ(child.out, "second first");
}

} // namespace
