// Memory managers: where the toolkit's objects, strings and arrays take their memory from.
#pragma once

#include "basictk/baselib/inc/btkNew.h"
#include "basictk/baselib/inc/thrMutex.h"

#include <cstddef>
#include <cstdlib>

// Reports the place on standard error and ends the process.
[[noreturn]] void btkAbort(const char *place);

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
    // Returns the bytes that may be used at a block, at least as many as were asked for; 0 for
    // null, or if the manager does not know.
    virtual std::size_t GetSize(const void *) const { return 0; }
    // Returns `size` bytes at a multiple of `alignment`, a power of two, not cleared. Null if there
    // is no memory or the alignment is none.
    virtual void *AllocMem(std::size_t, int) { btkAbort("btkMemMgr::AllocMem"); }
    // Null is allowed.
    virtual void FreeMem(void *) { btkAbort("btkMemMgr::FreeMem"); }
};

// malloc and free, with malloc's alignment whatever is asked for. Owns nothing.
class btkDefMemMgr : public btkMemMgr {
  public:
    void *AllocMem(std::size_t size, int) override { return std::malloc(size); }
    void FreeMem(void *memory) override { std::free(memory); }
};

struct btkBlock;
struct btkChunk;

constexpr std::size_t BTK_CHUNK_SIZE = 131072;
constexpr std::size_t BTK_POOL_SIZE = 32768; // the largest block of a chunk

// One free list per size class, of blocks cut from chunks that stay until the manager is destroyed.
// A larger block, or one with an alignment beyond malloc's, comes from malloc and goes back there.
// Any thread may call while threading is on.
class btkBaseMMgr : public btkMemMgr {
  public:
    ~btkBaseMMgr() override;
    std::size_t GetSize(const void *memory) const override;
    void *AllocMem(std::size_t size, int alignment) override;
    // Ends the process for a block of another manager of this class, and for one that is free.
    void FreeMem(void *memory) override;

  protected:
    // `free_lists` belong to the subclass: one for each class, null at first.
    explicit btkBaseMMgr(btkBlock **free_lists) : lists(free_lists) {}
    // The smallest class for a size from 1 to BTK_POOL_SIZE, and the size of its blocks.
    virtual int ClassFor(std::size_t size) const = 0;
    virtual int BlockSize(int sizeClass) const = 0;

  private:
    btkBlock *AllocSmall(std::size_t size);

    btkBlock **const lists;
    btkChunk *chunks = nullptr;        // the newest first
    std::size_t used = BTK_CHUNK_SIZE; // bytes of the newest chunk
    thrMutex lock{thrMutexNormal};
};

// Block sizes that are powers of two, for texts and arrays, which grow by doubling.
class btkPow2MMgr : public btkBaseMMgr {
  public:
    btkPow2MMgr() : btkBaseMMgr(table) {}

  protected:
    int ClassFor(std::size_t size) const override;
    int BlockSize(int sizeClass) const override { return 1 << sizeClass; }

  private:
    btkBlock *table[16] = {};
};

// Seven classes from one power of two to the next, for objects: above 64 bytes at most an eighth of
// a block is lost.
class btkPoolMMgr : public btkBaseMMgr {
  public:
    btkPoolMMgr() : btkBaseMMgr(table) {}
    // The class of a size up to 2^31, and the largest size of a class.
    static int ClassOfSize(std::size_t size);
    static int SizeOfClass(int sizeClass);

  protected:
    int ClassFor(std::size_t size) const override { return ClassOfSize(size); }
    int BlockSize(int sizeClass) const override { return SizeOfClass(sizeClass); }

  private:
    btkBlock *table[256] = {};
};

extern btkMemMgr *pStringMemMgr; // a btkPow2MMgr
extern btkMemMgr *&pArrayMemMgr; // the same
extern btkMemMgr *pBlkObjMemMgr; // a btkPoolMMgr
