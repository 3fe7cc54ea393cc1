// How an extensible array lies in its block.
//
//   block                                     handle
//   |                                         |
//   v                                         v
//   +-------------------+---------+-----------+----------------+-----------+----------+-----------+
//   | units:19  step:13 | element | 0x4858    | elements, then | 0x5458    | zone     | count     |
//   | high      low     | size    | (H X)     | zero bytes     | (T X)     | signed   | signed    |
//   +-------------------+---------+-----------+----------------+-----------+----------+-----------+
//     32 bits             16        16          units * 8 - 16   16          16         32 bits
//
// units is the size of the whole block in 8-byte units; step is the base growth step in elements.
// zone is the zone that owns the block, or -1 minus the number of moves of a general array. The
// bytes from the last element in use to the trailer are always zero.
#pragma once

#include <cstddef>
#include <cstdint>

struct xar_header {
    std::uint32_t units_and_step;
    std::uint16_t element_size;
    std::uint16_t magic;
};

struct xar_trailer {
    std::uint16_t magic;
    std::int16_t zone;
    std::int32_t count;
};

constexpr int XAR_UNIT_BYTES = 8;
constexpr int XAR_OVERHEAD_BYTES = 16;
constexpr std::uint16_t XAR_HEADER_MAGIC = 0x4858;
constexpr std::uint16_t XAR_TRAILER_MAGIC = 0x5458;
constexpr int XAR_STEP_BITS = 13;
constexpr int XAR_MAXIMUM_STEP = (1 << XAR_STEP_BITS) - 1;
constexpr int XAR_MAXIMUM_ELEMENT_SIZE = UINT16_MAX;

// No array holds more than XAR_LIMIT_BYTES / element size elements, on any host. A block at the
// limit is whole units long, so that rounding up never makes room beyond it.
constexpr int XAR_LIMIT_BYTES = 2047984;
constexpr int XAR_MAXIMUM_UNITS = (XAR_LIMIT_BYTES + XAR_OVERHEAD_BYTES) / XAR_UNIT_BYTES;
static_assert(XAR_LIMIT_BYTES % XAR_UNIT_BYTES == 0);
static_assert(XAR_MAXIMUM_UNITS < 1 << (32 - XAR_STEP_BITS));

static_assert(sizeof(xar_header) == 8 && sizeof(xar_trailer) == 8);
static_assert(sizeof(xar_header) + sizeof(xar_trailer) == XAR_OVERHEAD_BYTES);
static_assert(offsetof(xar_header, element_size) == 4 && offsetof(xar_header, magic) == 6);
static_assert(offsetof(xar_trailer, zone) == 2 && offsetof(xar_trailer, count) == 4);

inline xar_header *xar_header_of(const void *elements) {
    char *bytes = static_cast<char *>(const_cast<void *>(elements));
    return reinterpret_cast<xar_header *>(bytes - sizeof(xar_header));
}

inline void *xar_elements_of(xar_header *header) {
    return header + 1;
}

constexpr std::uint32_t xar_pack(int units, int step) {
    return static_cast<std::uint32_t>(units) << XAR_STEP_BITS | static_cast<std::uint32_t>(step);
}

inline int xar_units(const xar_header *header) {
    return static_cast<int>(header->units_and_step >> XAR_STEP_BITS);
}

inline int xar_step(const xar_header *header) {
    return static_cast<int>(header->units_and_step & XAR_MAXIMUM_STEP);
}

// The bytes between header and trailer.
inline int xar_element_bytes(const xar_header *header) {
    return xar_units(header) * XAR_UNIT_BYTES - XAR_OVERHEAD_BYTES;
}

inline xar_trailer *xar_trailer_of(xar_header *header) {
    char *elements = static_cast<char *>(xar_elements_of(header));
    return reinterpret_cast<xar_trailer *>(elements + xar_element_bytes(header));
}

// The units are checked before they lead to the trailer: that of a damaged header could lie
// anywhere.
inline bool xar_is_valid(const void *elements) {
    if (elements == nullptr) {
        return false;
    }
    xar_header *header = xar_header_of(elements);
    if (header->magic != XAR_HEADER_MAGIC || header->element_size == 0) {
        return false;
    }
    const int units = xar_units(header);
    return units >= XAR_OVERHEAD_BYTES / XAR_UNIT_BYTES && units <= XAR_MAXIMUM_UNITS &&
           xar_trailer_of(header)->magic == XAR_TRAILER_MAGIC;
}

// Takes count more elements of a valid array into use where they are: the first of them, or null
// when the block has no room for them.
inline void *xar_take_room(void *elements, int count, int element_size) {
    xar_header *header = xar_header_of(elements);
    xar_trailer *trailer = xar_trailer_of(header);
    const std::int64_t bytes_in_use = std::int64_t{trailer->count} * element_size;
    if (std::int64_t{count} * element_size > xar_element_bytes(header) - bytes_in_use) {
        return nullptr;
    }
    trailer->count += count;
    return static_cast<char *>(elements) + bytes_in_use;
}

// The offset of an address inside the elements in use of a valid array, or -1.
inline std::ptrdiff_t xar_offset_in_use(const void *elements, const void *address) {
    xar_header *header = xar_header_of(elements);
    const auto start = reinterpret_cast<std::uintptr_t>(elements);
    const auto offset = reinterpret_cast<std::uintptr_t>(address) - start;
    const auto bytes_in_use = static_cast<std::uintptr_t>(xar_trailer_of(header)->count) *
                              static_cast<std::uintptr_t>(header->element_size);
    return offset < bytes_in_use ? static_cast<std::ptrdiff_t>(offset) : -1;
}
