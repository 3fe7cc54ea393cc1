// The block allocator: all memory of the core and of the tools.
//
// Sizes are in bytes. New memory is zero and 8-byte aligned; released memory is overwritten with
// 0xFF, of a block of 3984 bytes or more the first and last 1000 bytes. Requests that match a
// general pool are served from it (pools.h). A block from any function below may be passed to any
// other.
//
// Threads: any thread may call, once the program has turned threading on (EnableThreading) and then
// counted its threads in thrThread::c_iThreadsInUse or c_iActiveThreadsInUse, both before a second
// thread calls: without both the chain of blocks is not locked. The first request takes the
// initialisation lock, which the caller must not hold. docs/architecture.md has the whole
// procedure.
//
// Exhausted memory is reported on standard output (" Serious error - out of virtual memory.
// Starting recovery attempt.") and handed to the innermost trap frame (error_break in
// serious_errors.h), which then goes on elsewhere. If no frame takes it, the function returns null
// and nothing has changed. A negative size and a corrupt chain of blocks end the process with
// status 2.
#pragma once

// Returns `size` bytes; null if size is 0. Caller frees with rlsmem().
[[nodiscard]] void *getmem(int size);
// As getmem(). `xar` other than 0 marks the block or record as an extensible array.
[[nodiscard]] void *getmem_xar(int size, int xar);
// As getmem(), but returns null without a report if memory is exhausted.
[[nodiscard]] void *getmem_null(int size);

// Resizes a block and returns its address; if that is not null, `data` is stale. The bytes up to
// the smaller size are kept, those above the old size are zero. Null `data` makes a new block,
// as getmem_xar(): none for size 0. A block resized to 0 is still a block: release it. A pool
// record keeps its own xar mark.
[[nodiscard]] void *relocmem_xar(void *data, int new_size, int xar);

// Releases a block; null is allowed. Always returns 0.
int rlsmem(void *data);

// Releases *data, and sets it to null unless marking_mem_to_preserve(). Returns 0 if `data` is
// null, else 1. relmem() does the same for a pointer of any type.
int relmem_address(void **data);

template <class T>
int relmem(T **data) {
    if (data == nullptr) {
        return 0;
    }
    void *untyped = *data;
    const int result = relmem_address(&untyped);
    *data = static_cast<T *>(untyped);
    return result;
}

// The switch of set_marking_mem_to_preserve() (block_debug.h).
int marking_mem_to_preserve();

// Makes the locks of the memory layer and each thread's stack of traps. The first request calls it.
// If a lock cannot be made, prints a message and ends the process with status 1.
void init_memory();
