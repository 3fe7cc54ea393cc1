// The heap of malloc, where a host lets a program say how much of it will be used.
#pragma once

#include <cstddef>

// Reserves address space for this many bytes of small blocks and asks the host to back it with
// large pages. No memory is used before it is touched, and none of the reserve goes back before the
// process ends. Does nothing where the host cannot or the space is not there. Call before other
// threads run.
void ctp_reserve_heap(std::size_t bytes);
