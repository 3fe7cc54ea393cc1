// Blocks of which each thread has its own.
#pragma once

#include "basictk/baselib/inc/thrLocalObject.h"
#include "basictk/baselib/inc/thrMutex.h"
#include "coretools/ctmemmgr/getmem.h"

#include <atomic>

// Returns the calling thread's zero block of `size` bytes. The first call makes the object that
// leads to it; a thread's first call makes its block, which is never released. Null without memory.
inline void *thread_block(std::atomic<thrLocalObject *> &made_object, int size) {
    thrLocalObject *object = thr_make_once(made_object, thrLocalObject_Create);
    void *block = thrLocalObject_GetData(object);
    if (block == nullptr && object != nullptr) {
        block = getmem(size);
        if (block != nullptr && !thrLocalObject_SetData(object, block)) {
            rlsmem(block);
            return nullptr;
        }
    }
    return block;
}
