// Pool table, areas and slots: what the files of the pool layer and the allocator share.
#pragma once

#include "basictk/baselib/inc/thrThread.h"
#include "coretools/ctmemmgr/block_internal.h"
#include "coretools/ctmemmgr/memory_loop.h"
#include "coretools/ctmemmgr/pools.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

// A pool, in older names a clump, is an entry of the table. It cuts its records from areas; an
// area is one general block and stays with the pool while a record in it is in use:
//
//   area_header | slot_header data | slot_header data | ... | rest
//               +0           +8    +stride
//
// A slot is a record with its header. Its offset counts SLOT_UNITs from the end of the area header,
// so data leads back to its area; the tag stands in the 16 bits just before the data.

constexpr int Stat_clump_size = 65536; // bytes of an area
constexpr std::size_t SLOT_UNIT = 8;   // bytes

struct alignas(8) area_header {
    int used;                // slots in use
    std::int16_t pool;       // index of the pool
    std::int16_t first_free; // offset of the slot released last, or NO_SLOT
    area_header *next;
    area_header *prev;
    area_header *self;   // the area's own address: proves that a slot leads to an area
    std::uint16_t fresh; // offset of the first slot that was never in use
};

struct slot_header {
    std::uint16_t offset;
    std::int16_t next_free; // offset, or NO_SLOT
    std::uint16_t mark;     // memory-loop number of the allocation, or NO_MARK
    std::uint16_t tag;
};

constexpr std::int16_t NO_SLOT = -1; // the end of the free list; also while in use
constexpr std::uint16_t NO_MARK = 0xFFFF;

// Odd, and so never what a general block holds before its data.
constexpr std::uint16_t TAG_IN_USE = 12345;
constexpr std::uint16_t TAG_IN_USE_XAR = 12347;
constexpr std::uint16_t TAG_FREE = 12349;

static_assert(sizeof(area_header) == (sizeof(void *) == 4 ? 24 : 40));
static_assert(sizeof(area_header) % SLOT_UNIT == 0, "slots follow the header: 8-byte aligned");
static_assert(sizeof(slot_header) == SLOT_UNIT);
static_assert(offsetof(slot_header, tag) + sizeof(std::uint16_t) == sizeof(slot_header),
              "the tag stands just before the data");
static_assert(Stat_clump_size / SLOT_UNIT <= INT16_MAX, "every offset fits next_free");

constexpr std::size_t CACHE_LINE = 64;

struct alignas(CACHE_LINE) clump_entry {
    int size; // of a record as asked for; rounded up in a general pool
    int kind; // a pool_kind
    int slots_per_area;
    int rounded; // the data bytes of a slot
    // Areas: the one that last served a request, then those with room, then the full ones.
    area_header *first_area;
    area_header *last_area;
    memory_loop_record loop;
    char name[CLUMP_NAME_SIZE];
};

static_assert(offsetof(clump_entry, loop) + sizeof(memory_loop_record::active) <= CACHE_LINE,
              "a request reads one line of the table");

// Guarded by the pools' lock. A used entry never changes the numbers before its areas: whoever has
// its index from a look-up or from an area may read these without the lock.
extern clump_entry clump_table[CLUMP_LIMIT];
extern int clump_count;

extern std::atomic<thrMutex *> clump_lock;

// Holds the pools' lock. Nothing else is locked meanwhile. A run without threads makes no call.
class clump_guard : held_mutex {
  public:
    clump_guard() : held_mutex(IsThreadingEnabled() ? lock_when_made(clump_lock) : nullptr) {}
};

constexpr bool is_table_index(int pool) {
    return pool >= 0 && pool < CLUMP_LIMIT;
}

// Entries from clump_count on are of no kind.
inline bool is_pool_index(int pool) {
    return is_table_index(pool) &&
           (clump_table[pool].kind == POOL_GENERAL || clump_table[pool].kind == POOL_EXPLICIT);
}

// One slot of each area stays free.
inline bool has_room(const clump_entry &entry, const area_header *area) {
    return area->used < entry.slots_per_area - 1;
}

inline slot_header *slot_at(area_header *area, std::size_t offset) {
    return reinterpret_cast<slot_header *>(reinterpret_cast<char *>(area) + sizeof(area_header) +
                                           offset * SLOT_UNIT);
}

// The distance between two slots, in SLOT_UNITs.
inline std::size_t stride_of(const clump_entry &entry) {
    return (static_cast<std::size_t>(entry.rounded) + sizeof(slot_header)) / SLOT_UNIT;
}

inline std::uint16_t pool_tag_of(const void *data) {
    std::uint16_t tag;
    std::memcpy(&tag, static_cast<const char *>(data) - sizeof tag, sizeof tag);
    return tag;
}

constexpr bool is_tag_in_use(std::uint16_t tag) {
    return tag == TAG_IN_USE || tag == TAG_IN_USE_XAR;
}

// True if data, not null, is a pool record in use.
inline bool is_pool_record(const void *data) {
    return is_tag_in_use(pool_tag_of(data));
}

// As getmem_pool_xar(); `mode` says what it does if memory is exhausted.
void *take_pool_record(int pool, failure_mode mode, block_kind kind);

// Spare areas: released areas that wait for the next request for one (spare_areas.cpp). They need
// no lock.

// Keeps a block of the size of an area. False, and the block is still the caller's, if there are
// enough.
[[nodiscard]] bool keep_spare_area(void *block);
// Returns a block that was kept, or null.
void *take_spare_area();
// Frees all of them. False if there was none.
bool free_spare_areas();

// The functions of a pool's memory_loop_record.
void dbgclump_mark(void *data, int number);
int dbgclump_index(const void *data);
int dbgclump_size(const memory_loop_record *record, const void *data);

// Returns the memory-loop record of pool number `index`; null after the last pool.
memory_loop_record *pool_loop_record(int index);
