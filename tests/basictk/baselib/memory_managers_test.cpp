// The memory managers, and the header before what they allocate.
#include "basictk/baselib/inc/btkMemMgr.h"
#include "tests/basictk/baselib/threads.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <set>

namespace {

TEST(MemoryManagers, PoolSizeClasses) {
    const struct {
        std::size_t size;
        int size_class;
    } rows[] = {{1, 1},    {8, 1},    {9, 2},    {112, 14}, {113, 24},
                {128, 24}, {129, 25}, {224, 30}, {225, 40}, {32768, 152}};
    for (const auto &row : rows) {
        EXPECT_EQ(btkPoolMMgr::ClassOfSize(row.size), row.size_class) << row.size;
    }
    for (std::size_t size = 1; size <= 70000; ++size) {
        const int size_class = btkPoolMMgr::ClassOfSize(size);
        const std::size_t held = static_cast<std::size_t>(btkPoolMMgr::SizeOfClass(size_class));
        ASSERT_GE(held, size);
        ASSERT_EQ(btkPoolMMgr::ClassOfSize(held), size_class);
        ASSERT_NE(btkPoolMMgr::ClassOfSize(held + 1), size_class);
    }
}

struct Block {
    unsigned char *data;
    std::size_t size;
    unsigned char fill;
};

void allocate_and_release(btkMemMgr *manager, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<Block> blocks;
    for (int step = 0; step < 20000; ++step) {
        if (blocks.empty() || random() % 1000 < (step / 4000 % 2 == 0 ? 600U : 400U)) {
            const std::size_t size = random() % (std::size_t{1} << random() % 17);
            const int alignment = 1 << random() % 10;
            void *data = manager->AllocMem(size, alignment);
            ASSERT_NE(data, nullptr);
            ASSERT_EQ(reinterpret_cast<std::uintptr_t>(data) % static_cast<unsigned>(alignment), 0U)
                << size << " at " << alignment;
            ASSERT_GE(manager->GetSize(data), size);
            const auto fill = static_cast<unsigned char>(random());
            std::memset(data, fill, manager->GetSize(data));
            blocks.push_back({static_cast<unsigned char *>(data), manager->GetSize(data), fill});
        } else {
            std::swap(blocks[random() % blocks.size()], blocks.back());
            const Block &block = blocks.back();
            ASSERT_EQ(block.data[0], block.fill);
            ASSERT_EQ(std::memcmp(block.data, block.data + 1, block.size - 1), 0);
            manager->FreeMem(block.data);
            blocks.pop_back();
        }
    }
    for (const Block &block : blocks) {
        manager->FreeMem(block.data);
    }
}

TEST(MemoryManagers, BlocksNeverOverlap) {
    ThreadingOn on;
    on_threads(4, [](int number) {
        allocate_and_release(number % 2 == 0 ? pStringMemMgr : pBlkObjMemMgr,
                             static_cast<unsigned>(number));
    });
}

TEST(MemoryManagers, PagesGoFromOneSizeToAnother) {
    const auto chunks_of = [](btkMemMgr &manager, std::size_t size) {
        std::set<std::uintptr_t> pages;
        std::vector<void *> blocks(500000 / size);
        for (void *&block : blocks) {
            block = manager.AllocMem(size, 8);
            pages.insert(reinterpret_cast<std::uintptr_t>(block) / BTK_POOL_SIZE);
        }
        for (void *block : blocks) {
            manager.FreeMem(block);
        }
        return pages;
    };
    btkPoolMMgr manager;
    std::set<std::uintptr_t> pages = chunks_of(manager, 16);
    const std::size_t first = pages.size();
    for (std::size_t size : {24, 48, 120, 500, 4000}) {
        pages.merge(chunks_of(manager, size));
    }
    EXPECT_LE(pages.size(), first + 2 * BTK_CHUNK_SIZE / BTK_POOL_SIZE);
}

TEST(MemoryManagers, RefusesImpossibleRequests) {
    btkPow2MMgr manager;
    for (int alignment : {0, -8, 3, 24, 1 << 17, 1 << 30}) {
        EXPECT_EQ(manager.AllocMem(8, alignment), nullptr) << alignment;
    }
    EXPECT_EQ(manager.AllocMem(SIZE_MAX, 8), nullptr);
    EXPECT_EQ(manager.AllocMem(SIZE_MAX - 200, 8), nullptr);
    EXPECT_EQ(btkNew(SIZE_MAX - 8, nullptr), nullptr);
    manager.FreeMem(nullptr);
    btkDelete(nullptr);
    // Not given back: they go with the manager, which a leak check would notice.
    EXPECT_NE(manager.AllocMem(100, 8), nullptr);
    EXPECT_NE(manager.AllocMem(100000, 8), nullptr);
}

class WatchedManager : public btkMemMgr {
  public:
    void *AllocMem(std::size_t size, int alignment) override {
        asked = size;
        EXPECT_EQ(alignment, 8);
        return full ? nullptr : block;
    }
    void FreeMem(void *memory) override { freed = memory; }

    alignas(8) unsigned char block[64];
    bool full = false;
    std::size_t asked = 0;
    void *freed = nullptr;
};

struct Small : btkAllocated {
    Small() { ++made; }
    int value = 0;
    static int made;
};
int Small::made = 0;

TEST(MemoryManagers, HeaderNamesManagerAndSize) {
    WatchedManager manager;
    Small *small = new (&manager) Small;
    ASSERT_EQ(static_cast<void *>(small), manager.block + 2 * sizeof(void *));
    EXPECT_EQ(manager.asked, sizeof(Small) + 2 * sizeof(void *));
    void *words[2];
    std::memcpy(words, manager.block, sizeof words);
    EXPECT_EQ(words[0], &manager);
    EXPECT_EQ(reinterpret_cast<std::size_t>(words[1]), sizeof(Small));
    delete small;
    EXPECT_EQ(manager.freed, manager.block);

    manager.full = true;
    const int made = Small::made;
    EXPECT_EQ(new (&manager) Small, nullptr);
    EXPECT_EQ(Small::made, made);

    btkMemMgr *none = nullptr;
    delete new (none) Small; // malloc and free: a leak check sees whether they meet
    delete[] new (none) Small[3];
    delete new Small;
}

} // namespace
