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

// The interface. In this class itself GetSize returns 0, and the other two end the process.
class btkMemMgr : public btkDebugMemMgr {
  public:
    // Returns the bytes that may be used at `memory`, at least as many as were asked for; 0 for
    // null, or if the manager does not know.
    virtual std::size_t GetSize(const void *memory) const;
    // Returns `size` bytes at a multiple of `alignment`, a power of two, not cleared. Null if there
    // is no memory or the alignment is none.
    virtual void *AllocMem(std::size_t size, int alignment);
    // Null is allowed.
    virtual void FreeMem(void *memory);
};

// malloc and free, with malloc's alignment whatever is asked for. Owns nothing.
class btkDefMemMgr : public btkMemMgr {
  public:
    void *AllocMem(std::size_t size, int alignment) override;
    void FreeMem(void *memory) override;
};

struct btkBlock;
struct btkChunk;

// One row of a manager's table: the blocks of one size that are free. A row of block size -1 ends
// the table.
struct btkFreeList {
    int blockSize;
    btkBlock *first;
};

constexpr std::size_t BTK_CHUNK_SIZE = 131072;
constexpr std::size_t BTK_POOL_SIZE = 32768; // the largest block of a chunk

// Blocks of the sizes of a table, cut from chunks that stay until the manager is destroyed. A
// larger block, or one with an alignment beyond malloc's, comes from malloc and goes back there.
// Any thread may call while threading is on.
class btkBaseMMgr : public btkMemMgr {
  public:
    ~btkBaseMMgr() override;
    std::size_t GetSize(const void *memory) const override;
    void *AllocMem(std::size_t size, int alignment) override;
    // Ends the process for a block of another manager of this class, and for one that is free.
    void FreeMem(void *memory) override;

  protected:
    // `lists` belongs to the subclass.
    explicit btkBaseMMgr(btkFreeList *free_lists) : lists(free_lists) {}
    // Returns the row for a size from 1 to BTK_POOL_SIZE. Its blocks have at least that many bytes.
    virtual int SizeClass(std::size_t size) const = 0;

  private:
    btkBlock *CutBlock(std::size_t size);
    btkBlock *AllocLarge(std::size_t size, std::size_t alignment);

    btkFreeList *const lists;
    btkChunk *chunks = nullptr;        // the newest first
    std::size_t used = BTK_CHUNK_SIZE; // bytes of the newest chunk
    thrMutex lock{thrMutexNormal};
};

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

// Seven classes from one power of two to the next, for objects: above 64 bytes at most an eighth of
// a block is lost.
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

// Reports the place on standard error and ends the process.
[[noreturn]] void btkAbort(const char *place);
