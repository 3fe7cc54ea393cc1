// Debugging of the block allocator: totals, a checker of the chain, and the switches.
//
// All switches are 0 at start. They may be set at any time; a thread sees a change at its next
// request.
#pragma once

#include <cstddef>
#include <cstdint>

struct memory_statistics {
    std::int64_t num_blocks;       // live general blocks; a pool area is one
    std::int64_t application_size; // sum of the sizes asked for
    std::int64_t system_size;      // sum of the whole sizes, headers and trailers included
    std::int64_t max_system_size;  // the highest value of system_size so far
};

memory_statistics get_memory_statistics();

// What a check of the chain of blocks finds first.
enum chain_check : int {
    CHAIN_NO_DATA = -1,        // the address is null
    CHAIN_IS_VALID = 0,        //
    CHAIN_BAD_FIRST = 1,       // no predecessor but not the first block, or the reverse
    CHAIN_BAD_LAST = 2,        // no successor but not the last block, or the reverse
    CHAIN_BAD_PREDECESSOR = 3, // the predecessor does not lead here
    CHAIN_BAD_SUCCESSOR = 4,   // the successor does not lead here
    CHAIN_BAD_TOTALS = 5,      // the links are right, the totals are not (check_memory_chain only)
};

// Checks the chain around a block. Reads no further than plausible headers lead, so any address of
// readable memory may be given. Must be called with no thread changing the chain.
chain_check area_invalid(const void *data);

// Checks every block of the chain and the totals.
chain_check check_memory_chain();

// Released blocks are overwritten and kept on a list instead of being freed; resizing moves.
void set_dont_release_memory(int on);
// Every resize moves the block.
void set_always_relocate(int on);
// relmem leaves the caller's pointer as it is.
void set_marking_mem_to_preserve(int on);

struct released_block {
    void *block; // as malloc gave it
    std::size_t whole_size;
};

// Takes a block over into the list of released blocks; frees it when the list cannot grow.
void add_block_to_released_list(void *block, std::size_t whole_size);
// The list, oldest first: false when there is no such entry.
bool get_released_block(int index, released_block *entry);
