// Debugging of the block allocator: totals, a check of the chain, and switches.
//
// Switches are 0 at first and may be set at any time; a thread sees a change at its next request.
#pragma once

#include <cstddef>
#include <cstdint>

struct memory_statistics {
    std::int64_t num_blocks;       // live general blocks; an area of a pool is one
    std::int64_t application_size; // sum of their sizes in bytes
    std::int64_t system_size;      // the same with rounding, headers and trailers
    std::int64_t max_system_size;  // the highest value of system_size so far
};

memory_statistics get_memory_statistics();

// What a check of the chain of blocks finds first.
enum chain_check : int {
    CHAIN_NO_DATA = -1,        // the address is null
    CHAIN_IS_VALID = 0,        //
    CHAIN_BAD_FIRST = 1,       // no predecessor but not the first block, or the reverse
    CHAIN_BAD_LAST = 2,        // no successor but not the last block, or the reverse
    CHAIN_BAD_PREDECESSOR = 3, // the predecessor does not lead to the block
    CHAIN_BAD_SUCCESSOR = 4,   // the successor does not lead back to the block
    CHAIN_BAD_TOTALS = 5,      // all links are right, a total is not (check_memory_chain only)
};

// Checks the links around a general block. Follows no link of a header that is not plausible. Takes
// no lock: no other thread may change the chain.
chain_check area_invalid(const void *data);

// Checks every block of the chain, and the totals.
chain_check check_memory_chain();

// Released blocks are overwritten and kept in a list instead of being freed; every resize moves.
void set_dont_release_memory(int on);
// Every resize moves the block.
void set_always_relocate(int on);
// relmem() leaves the caller's pointer as it is.
void set_marking_mem_to_preserve(int on);

struct released_block {
    void *block; // as malloc returned it
    std::size_t whole_size;
};

// Puts a block into the list of released blocks, which owns it from now on; frees it if the list
// cannot grow.
void add_block_to_released_list(void *block, std::size_t whole_size);
// Stores entry number `index` of the list, oldest first. False if there is no such entry.
bool get_released_block(int index, released_block *entry);
