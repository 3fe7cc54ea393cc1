// Pools: many small records of one size from large areas.
//
// A record is zero and 8-byte aligned, is recognised by its address alone and may be released
// with rlsmem. An explicit pool belongs to the subsystem that made it; a general pool serves every
// getmem request of its rounded size. All functions may be called from several threads.
#pragma once

// An explicit pool of records of this many bytes: its index, or -1 when all pools are taken (in
// the user run mode; elsewhere that ends the process). The name, cut to 31 characters, may be
// null. A size of 0 or less, or one that leaves no record in an area, ends the process.
int create_mem_pool(const char *name, int record_size);
// The same for a general pool; a pool of the same rounded size is shared, and its name shows both.
int register_clump(const char *name, int size);

enum pool_kind : int { POOL_GENERAL = -7, POOL_EXPLICIT = -8, POOL_FREE = -9 };
int register_clump_type(const char *name, int size, int kind);

// The general pool for a request of this size, or -1. A size of 0 or less ends the process.
int find_non_id_clump(int size);

// A zero record; null for an index that is no pool and when memory is exhausted (after the report,
// as in getmem). The xar flag marks a record that holds an extensible array.
[[nodiscard]] void *getmem_pool(int pool);
[[nodiscard]] void *getmem_pool_xar(int pool, int xar);

// Releases a pool record: 1, or 0 when the address is none. A record that is already released is
// reported and left alone: 1.
int rlsmem_clump(void *data);
// Moves a pool record out of its pool: the new address holds the old contents up to the smaller
// size. Null when the address is no pool record (nothing happens), and when memory is exhausted
// (the record stays). The flag that marks arrays goes along with the record; xar is not used.
[[nodiscard]] void *relocmem_clump(void *data, int new_size, int xar);
// The pool of a record in use, or -1 when the address is none.
int mempool_of_slot(const void *data);

// The name of a pool, empty when it has none; null for an index that is no pool.
const char *mem_pool_name(int pool);

// Switches, all 0 at start. Either of the first two keeps requests away from the general pools.
void set_clump_mode_off_low(int on);
void set_clump_mode_off(int on);
// A small request makes the general pool that it misses.
void set_automatic_clumps_on(int on);
// Asks the owners of explicit pools to take their records from getmem instead.
void set_dbg_memory_config(int on);
int get_dbg_memory_config();

// Creates the pools' lock: 1; without a lock it ends the process.
int init_clump_lock();

// What a check of a pool finds first.
enum pool_check : int {
    POOL_UNKNOWN = -1,      // no such pool
    POOL_IS_VALID = 0,      //
    POOL_BAD_COUNT = 1,     // an area's count of slots in use
    POOL_BAD_FREE_LIST = 2, // an area's free list, or its first fresh slot
    POOL_BAD_SLOT = 3,      // a slot's header
    POOL_BAD_ORDER = 4,     // an area with room stands behind a full one
    POOL_BAD_LINK = 5,      // an area's links, its own address or its pool
};

// Checks every area, slot and free list of a pool.
pool_check check_mem_pool(int pool);
