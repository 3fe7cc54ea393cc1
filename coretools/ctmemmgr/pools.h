// Pools: many records of one size, cut from areas of 64 KiB.
//
// A pool (in names also "clump") is known by its number. An explicit pool belongs to the subsystem
// that made it; a general pool serves every getmem() request of its rounded size. A record is zero
// and 8-byte aligned, is recognised by the tag in the two bytes before it, and is released with
// rlsmem(). Pointers given to the functions below must have such bytes: a block, a record. A record
// whose header is damaged ends the process. Exhausted memory: as in getmem.h. The pools are locked
// while threading is on, whatever the counters say.
#pragma once

constexpr int CLUMP_LIMIT = 500;            // pools
constexpr int CLUMP_NAME_SIZE = 32;         // bytes of a pool's name, with the terminating zero
constexpr int AUTOMATIC_CLUMP_LIMIT = 2048; // bytes of a record of a pool made automatically

enum pool_kind : int { POOL_GENERAL = -7, POOL_EXPLICIT = -8, POOL_FREE = -9 };

// Makes a pool of `kind` and returns its number. A general pool of the same rounded size is shared,
// and its name then shows both. `name` may be null and is cut to what CLUMP_NAME_SIZE holds.
// A size that is not positive or leaves no record in an area ends the process. With all CLUMP_LIMIT
// pools taken, returns -1 in the user run mode and ends the process in any other.
int register_clump_type(const char *name, int size, int kind);
// The same with POOL_GENERAL.
int register_clump(const char *name, int size);
// The same with POOL_EXPLICIT.
int create_mem_pool(const char *name, int record_size);

// Returns the general pool for a request of `size` bytes, or -1, as while the general pools are
// off. Else a size that is not positive ends the process.
int find_non_id_clump(int size);

// Returns a record; null if there is no such pool. `xar` other than 0 marks the record as an
// extensible array.
[[nodiscard]] void *getmem_pool_xar(int pool, int xar);
[[nodiscard]] void *getmem_pool(int pool);

// Releases a record. Returns 1, or 0 if `data` is no record. A record that is already released is
// reported (dbg_err_crash) and left alone: 1.
int rlsmem_clump(void *data);
// Moves a record out of its pool and returns its new address, with the contents up to the smaller
// size and the record's own xar mark (`xar` is not used). Null, and nothing has changed, if `data`
// is no record or memory is exhausted.
[[nodiscard]] void *relocmem_clump(void *data, int new_size, int xar);
// Returns the pool of a record in use, or -1 if `data` is none.
int mempool_of_slot(const void *data);

// Returns the name of a pool, "" if it has none; null if there is no such pool.
const char *mem_pool_name(int pool);

// Switches, all 0 at first.
void set_clump_mode_off_low(int on); // the general pools serve no request
void set_clump_mode_off(int on);     // the same
// A request of up to AUTOMATIC_CLUMP_LIMIT bytes makes the pool that it lacks.
void set_automatic_clumps_on(int on);
void set_dbg_memory_config(int on); // owners of explicit pools shall use getmem() instead
int get_dbg_memory_config();

// Makes the pools' lock and returns 1. Without a lock it ends the process with status 1.
int init_clump_lock();

// What a check of a pool finds first.
enum pool_check : int {
    POOL_UNKNOWN = -1,      // there is no such pool
    POOL_IS_VALID = 0,      //
    POOL_BAD_COUNT = 1,     // an area's number of slots in use
    POOL_BAD_FREE_LIST = 2, // an area's list of free slots
    POOL_BAD_SLOT = 3,      // a slot's header
    POOL_BAD_ORDER = 4,     // an area with room stands behind a full one
    POOL_BAD_LINK = 5,      // an area's neighbours, own address or pool
};

// Checks every area, slot and free list of a pool.
pool_check check_mem_pool(int pool);
