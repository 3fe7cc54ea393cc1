// The layout of a general block, and what the files of the block allocator share.
#pragma once

#include "basictk/baselib/inc/thrMutex.h"
#include "basictk/baselib/inc/thrThread.h"
#include "coretools/ctmemmgr/memory_loop.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

// A block as malloc gave it. Offsets are in bytes; data is what the caller sees.
//
//   64-bit host                              32-bit host
//    0  prev        8                         0  prev        4
//    8  guard       4  (of prev and size)
//   12  size low    2  (bits 0..15)           4  size low    2
//   14  size high   2  (bits 16..30, << 1)    6  size high   2
//   16  data: the size rounded up to 8        8  data: the size rounded up to 8
//    +  next        8                         +  next        4
//    +  mark        4  (serial << 1 | xar)    +  mark        4
//    +  guard       4  (of next)
//
// Pool records are distinguished from blocks by the 16 bits before the data, which hold an odd tag
// there. Here these bits are size_high, a field of its own whose lowest bit is always 0: whatever
// the byte order and the width of a pointer, a block never looks like a pool record.

// A check word in the padding of a 64-bit host: a link that was overwritten is not followed. A
// 32-bit host has no room for it.
template <std::size_t pointer_bytes>
struct link_guard {
    std::uint32_t word;

    static std::uint32_t of(const void *link, std::uint32_t size) {
        const auto bits = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(link));
        return ~(static_cast<std::uint32_t>(bits ^ (bits >> 32)) ^ size);
    }
    void set(const void *link, std::uint32_t size) { word = of(link, size); }
    bool accepts(const void *link, std::uint32_t size) const { return word == of(link, size); }
};

template <>
struct link_guard<4> {
    void set(const void *, std::uint32_t) {}
    bool accepts(const void *, std::uint32_t) const { return true; }
};

struct block_header {
    block_header *prev;
    [[no_unique_address]] link_guard<sizeof(void *)> guard;
    std::uint16_t size_low;
    std::uint16_t size_high;
};

struct block_trailer {
    block_header *next;
    std::uint32_t mark;
    [[no_unique_address]] link_guard<sizeof(void *)> guard;
};

constexpr std::size_t BLOCK_UNIT = 8;
constexpr std::size_t BLOCK_HEADER_BYTES = sizeof(block_header);
constexpr std::size_t BLOCK_OVERHEAD = sizeof(block_header) + sizeof(block_trailer);
constexpr std::uint32_t NO_SERIAL = 0x7FFFFFFF;

static_assert(BLOCK_HEADER_BYTES % BLOCK_UNIT == 0, "data follows the header: 8-byte aligned");
static_assert(offsetof(block_header, size_high) + sizeof(std::uint16_t) == BLOCK_HEADER_BYTES,
              "the field that is never odd stands just before the data");
static_assert(alignof(block_trailer) <= BLOCK_UNIT && BLOCK_OVERHEAD % BLOCK_UNIT == 0);
static_assert(BLOCK_OVERHEAD == (sizeof(void *) == 4 ? 16 : 32));
static_assert(sizeof(int) == 4, "a size has 31 bits");

inline block_header *header_of(const void *data) {
    return reinterpret_cast<block_header *>(
        const_cast<char *>(static_cast<const char *>(data) - BLOCK_HEADER_BYTES));
}

inline char *data_of(block_header *block) {
    return reinterpret_cast<char *>(block) + BLOCK_HEADER_BYTES;
}

// size is not negative. No size overflows a size_t, on a 32-bit host either.
constexpr std::size_t rounded_size(int size) {
    return (static_cast<std::size_t>(size) + (BLOCK_UNIT - 1)) & ~(BLOCK_UNIT - 1);
}

constexpr std::size_t whole_size(int size) {
    return rounded_size(size) + BLOCK_OVERHEAD;
}

inline int block_size(const block_header *block) {
    return static_cast<int>((static_cast<std::uint32_t>(block->size_high >> 1) << 16) |
                            block->size_low);
}

inline block_trailer *trailer_of(block_header *block) {
    return reinterpret_cast<block_trailer *>(data_of(block) + rounded_size(block_size(block)));
}

// Must come before the links: a check word covers the size.
inline void set_block_size(block_header *block, int size) {
    const auto bits = static_cast<std::uint32_t>(size);
    block->size_low = static_cast<std::uint16_t>(bits & 0xFFFF);
    block->size_high = static_cast<std::uint16_t>((bits >> 16) << 1);
}

inline void set_prev(block_header *block, block_header *prev) {
    block->prev = prev;
    block->guard.set(prev, static_cast<std::uint32_t>(block_size(block)));
}

inline void set_next(block_header *block, block_header *next) {
    block_trailer *const trailer = trailer_of(block);
    trailer->next = next;
    trailer->guard.set(next, 0);
}

enum failure_mode : int { FAIL_TO_TRAPS = 0, FAIL_SOFTLY = 1 }; // report, or only return null
enum block_kind : int { PLAIN_BLOCK = 0, XAR_BLOCK = 1 };

// The kind that the xar flag of a request asks for.
constexpr block_kind kind_of(int xar) {
    return xar != 0 ? XAR_BLOCK : PLAIN_BLOCK;
}

constexpr std::uint32_t block_mark(std::uint32_t serial, block_kind kind) {
    return (serial << 1) | static_cast<std::uint32_t>(kind);
}

// True if the chain needs its lock. Asked anew at every request.
inline bool memmgr_lock_needed() {
    return thrThread_GetNumberOfActiveThreads() != 0 ||
           thrThread_GetNumberOfThreadsRunning() > thrThread_GetLimitOfSafeThreads();
}

// Calls init_memory if that has not been done. False if threading is on and the locks could not be
// made.
bool memory_is_ready();

// Unlocks a mutex at the end of its scope, which no trap may leave; null is none.
class held_mutex {
  public:
    explicit held_mutex(thrMutex *locked) : mutex(locked) {}
    ~held_mutex() {
        if (mutex != nullptr) {
            thrMutex_Unlock(mutex);
        }
    }
    held_mutex(const held_mutex &) = delete;
    held_mutex &operator=(const held_mutex &) = delete;

  private:
    thrMutex *const mutex;
};

// Locks a mutex of the memory layer and returns it; null if there is none. Makes it if this is the
// first request: a thread that comes before that must not work unlocked beside it.
thrMutex *lock_when_made(const std::atomic<thrMutex *> &mutex);
extern std::atomic<thrMutex *> memmgr_lock;

// Holds the lock of the chain, if it needs one.
class chain_guard : held_mutex {
  public:
    chain_guard() : held_mutex(memmgr_lock_needed() ? lock_when_made(memmgr_lock) : nullptr) {}
};

// The chain of live blocks (block_chain.cpp). Must be called under a chain_guard. The size of a new
// or resized block is set before.

// False, and nothing changed, if the chain is corrupt.
[[nodiscard]] bool append_to_chain(block_header *block, block_kind kind);
// Puts a resized block into its old place, between prev and next.
void replace_in_chain(block_header *block, block_header *prev, block_header *next, int old_size,
                      block_kind kind);
void remove_from_chain(block_header *block);
void set_block_serial(void *data, std::uint32_t serial);

// The allocator past the pools (block_allocator.cpp). The pools' areas and size cache come from
// here, so that the two layers never recurse into each other.

// Makes a general block, or resizes the one at old_data. soft_failure is a failure_mode; xar other
// than 0 makes an XAR_BLOCK.
void *manage_memory(int size, void *old_data, int soft_failure, int xar);
// Releases a general block. Always returns 0.
int release_block(void *data);

// The same for an area of a pool, except that its contents are not defined and that some released
// areas are kept for the next requests.
void *new_area_block(failure_mode mode);
void release_area_block(void *area);

// As getmem_xar(); `mode` says what it does if memory is exhausted.
void *allocate_block(int size, failure_mode mode, block_kind kind);
// Reports exhausted memory and hands it to the traps. Must be called without a chain_guard or
// clump_guard.
void report_exhausted_memory();

// Debugging switches, read on every request (block_debug.cpp, alloc_replay.cpp).
bool keeps_released_blocks();
bool always_relocates();
extern std::atomic<int> memory_file_level;
extern memory_loop_record dbggetmem;
