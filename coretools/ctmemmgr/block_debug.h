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

// How the chain stands around a block: 0 consistent; -1 null data; 1 it has no predecessor but is
// not the first, or the reverse; 3 its predecessor does not lead to it; 2 and 4 the same for the
// last and the successor. A header that cannot be believed is never followed.
int area_invalid(const void *data);

// Walks the whole chain: 0 when every link and every total is right, what area_invalid says of the
// first block that is not, or 5 when only the totals differ.
int check_memory_chain();

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
