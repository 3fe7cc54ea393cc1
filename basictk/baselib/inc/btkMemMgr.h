// Memory managers: where the toolkit's objects, strings and arrays take their memory from.
#pragma once

#include "basictk/baselib/inc/btkNew.h"
#include "basictk/baselib/inc/thrMutex.h"

#include <cstddef>

class btkDebugMemMgr : public btkAllocated {
  public:
    btkDebugMemMgr() = default;
    btkDebugMemMgr(const btkDebugMemMgr &) = delete;
    btkDebugMemMgr &operator=(const btkDebugMemMgr &) = delete;
    virtual ~btkDebugMemMgr() = default;
};

// The interface. In this class itself GetSize answers 0 and the other two abort the process.
class btkMemMgr : public btkDebugMemMgr {
  public:
    // The bytes that may be used at memory, not less than were asked for; 0 when not known.
    virtual std::size_t GetSize(const void *memory) const;
    // size bytes at a multiple of alignment (a power of two), not cleared; null without memory.
    virtual void *AllocMem(std::size_t size, int alignment);
    virtual void FreeMem(void *memory);
};

// malloc and free, with malloc's alignment whatever is asked for. Holds nothing itself.
class btkDefMemMgr : public btkMemMgr {
  public:
    void *AllocMem(std::size_t size, int alignment) override;
    void FreeMem(void *memory) override;
};

struct btkPage;

// One row of a manager's table: the block size of a class, and its pages that have a free block.
// A row of block size -1 ends the table.
struct btkFreeList {
    int blockSize;
    btkPage *pages;
};

// Small blocks by size class. Chunks come from the C library and are cut into pages aligned to
// their own size; a page holds blocks of one class behind a header that a block finds by rounding
// its address down. A page whose blocks are all free may serve another class. A request above a
// quarter of a page has an allocation of its own with the same header. Safe on several threads
// while threading is on. Destruction gives everything back, blocks in use included.
class btkBaseMMgr : public btkMemMgr {
  public:
    ~btkBaseMMgr() override;
    std::size_t GetSize(const void *memory) const override;
    void *AllocMem(std::size_t size, int alignment) override;
    // A block of another manager of this class, or one already free with its page, aborts the
    // process.
    void FreeMem(void *memory) override;

  protected:
    // pageSize is a power of two that divides chunkSize; lists belongs to the subclass.
    btkBaseMMgr(std::size_t chunkSize, std::size_t pageSize, btkFreeList *lists);
    // The row for a size from 1 to a quarter of a page; its blocks hold at least that many bytes.
    virtual int SizeClass(std::size_t size) const = 0;

  private:
    btkPage *PageOf(const void *memory) const;
    btkPage *TakePage();
    void *AllocBlock(int sizeClass);
    void *AllocLarge(std::size_t size, std::size_t alignment);
    void FreeBlock(btkPage *page, void *memory);

    const std::size_t chunkSize;
    const std::size_t pageSize;
    btkFreeList *const lists;
    btkPage *chunks = nullptr;
    btkPage *freePages = nullptr;
    btkPage *large = nullptr;
    thrMutex lock{thrMutexNormal};
};

constexpr std::size_t BTK_CHUNK_SIZE = 131072;
constexpr std::size_t BTK_POOL_SIZE = 32768;

// Block sizes that are powers of two, for texts and arrays, which grow by doubling.
class btkPow2MMgr : public btkBaseMMgr {
  public:
    static constexpr int LISTS = 16;
    btkPow2MMgr();

  protected:
    int SizeClass(std::size_t size) const override;

  private:
    btkFreeList table[LISTS + 1];
};

// Seven classes from one power of two to the next, for objects: an eighth of a block is lost at
// worst above 64 bytes.
class btkPoolMMgr : public btkBaseMMgr {
  public:
    static constexpr int LISTS = 256;
    btkPoolMMgr();
    // The class of a size up to 2^31, and the largest size of a class.
    static int ClassOfSize(std::size_t size);
    static int SizeOfClass(int sizeClass);

  protected:
    int SizeClass(std::size_t size) const override { return ClassOfSize(size); }

  private:
    btkFreeList table[LISTS + 1];
};

extern btkMemMgr *pStringMemMgr; // one shared btkPow2MMgr
extern btkMemMgr *pArrayMemMgr;  // the same
extern btkMemMgr *pBlkObjMemMgr; // a btkPoolMMgr

// Reports the place and ends the process. The first report is the only one that is written whole.
[[noreturn]] void btkAbort(const char *place);
