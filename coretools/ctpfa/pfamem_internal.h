// What traces of path records share.
#pragma once

#include <cstdint>

// Returns an address as the traces print it, through "%x".
inline unsigned pfa_trace_address(const void *address) {
    return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(address));
}
