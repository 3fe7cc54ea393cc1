// The block allocator: every block of the core and of the tools comes from here.
//
// Sizes are in bytes. New memory is zero and 8-byte aligned; memory that goes back is overwritten
// with 0xFF. Small requests are offered to the general pools first (pools.h); a pointer from any
// of the functions below may be handed to any other of them. All of them may be called from
// several threads; a block itself belongs to whoever holds its address.
//
// A request that cannot be served prints two lines, goes to the innermost trap frame
// (error_break) and, where no frame takes it, answers null; what the caller had stays as it was.
// A negative size and a corrupt chain of blocks end the process with status 2.
#pragma once

// size zero bytes; null for size 0.
[[nodiscard]] void *getmem(int size);
// The same; a xar flag other than 0 marks the block as an extensible array.
[[nodiscard]] void *getmem_xar(int size, int xar);
// The same as getmem, but exhausted memory answers null at once.
[[nodiscard]] void *getmem_null(int size);

// Resizes a block, which may move: the old address is stale unless the answer is null. The bytes
// up to the smaller size are kept, those above the old size are zero. Null data is a new request;
// a block of size 0 is still a block, to be released.
[[nodiscard]] void *relocmem_xar(void *data, int new_size, int xar);

// Gives a block back; null is allowed. Always 0.
int rlsmem(void *data);

// Releases *data and sets it to null, unless memory is being marked to be preserved
// (block_debug.h): 0 for a null address, else 1.
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

int marking_mem_to_preserve();

// Makes the locks of the memory layer and the traps' thread-local object; every request that finds
// them missing calls it. It takes the library initialisation lock, which its caller must not hold.
void init_memory();
