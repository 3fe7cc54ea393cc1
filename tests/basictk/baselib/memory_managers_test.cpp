// The memory managers, and the header before what they allocate.
#include "basictk/baselib/inc/btkMemMgr.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <set>

namespace {

TEST(MemoryManagers, PoolSizeClasses) {
    for (const auto &[size, is] : {std::pair(1U, 1), {9U, 2}, {112U, 14}, {113U, 24}, {129U, 25}}) {
        EXPECT_EQ(btkPoolMMgr::ClassOfSize(size), is) << size;
    }
    EXPECT_EQ(btkPoolMMgr::ClassOfSize(BTK_POOL_SIZE), 152);
    for (std::size_t size = 1; size <= 70000; ++size) {
        const int size_class = btkPoolMMgr::ClassOfSize(size);
        const std::size_t held = static_cast<std::size_t>(btkPoolMMgr::SizeOfClass(size_class));
        ASSERT_GE(held, size);
        ASSERT_EQ(btkPoolMMgr::ClassOfSize(held), size_class);
        ASSERT_NE(btkPoolMMgr::ClassOfSize(held + 1), size_class);
    }
}

// Every byte of a block holds a mark of its address, so that two blocks that overlap show.
void allocate_and_release(btkMemMgr *manager, int seed) {
    std::mt19937 random(static_cast<unsigned>(seed));
    std::vector<unsigned char *> blocks;
    const auto mark_of = [](unsigned char *block) {
        return static_cast<unsigned char>(reinterpret_cast<std::uintptr_t>(block) >> 3);
    };
    for (int step = 0; step < 20000; ++step) {
        if (step < 19000 && random() % 1000 < (step / 4000 % 2 == 0 ? 600U : 400U)) {
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
}

TEST(MemoryManagers, BlocksNeverOverlap) {
    run_on_threads(
        4, [](int i) { allocate_and_release(i % 2 == 0 ? pStringMemMgr : pBlkObjMemMgr, i); });
}

// What is left at the end goes with the manager, as a leak check sees.
TEST(MemoryManagers, EmptyPagesServeEverySize) {
    btkPoolMMgr manager;
    std::set<std::uintptr_t> pages;
    void *blocks[100];
    for (std::size_t size : {4000, 16, 24, 120, 500, 8192}) {
        for (void *&block : blocks) {
            block = manager.AllocMem(size, 8);
            pages.insert(reinterpret_cast<std::uintptr_t>(block) / BTK_POOL_SIZE);
        }
        for (void *block : blocks) {
            manager.FreeMem(size == 8192 ? nullptr : block);
        }
    }
    EXPECT_LE(pages.size(), 36U); // 8192 bytes need 34: three fit in a page
    EXPECT_NE(manager.AllocMem(9000, 8), nullptr);
}

struct FullManager : btkMemMgr {
    void *AllocMem(std::size_t, int) override { return nullptr; }
};

struct Counted : btkAllocated {
    Counted() { ++made; }
    static inline int made = 0;
};

TEST(MemoryManagers, HeaderNamesManagerAndSize) {
    for (btkMemMgr *manager :
         {pBlkObjMemMgr, pArrayMemMgr, pDefMemMgr, static_cast<btkMemMgr *>(nullptr)}) {
        Counted *counted = new (manager) Counted;
        EXPECT_EQ(reinterpret_cast<void **>(counted)[-2], manager);
        EXPECT_EQ(reinterpret_cast<std::size_t *>(counted)[-1], sizeof(Counted));
        delete counted; // a wrong way back ends the process
    }
    FullManager full;
    EXPECT_EQ(new (&full) Counted, nullptr);
    EXPECT_EQ(Counted::made, 4);
    EXPECT_EQ(btkNew(SIZE_MAX - 8, nullptr), nullptr);
    EXPECT_EQ(pStringMemMgr->AllocMem(SIZE_MAX - 100, 8), nullptr);
    EXPECT_EQ(pStringMemMgr->AllocMem(8, 24), nullptr);
    EXPECT_EQ(pStringMemMgr->AllocMem(8, 1 << 17), nullptr);
}

} // namespace
