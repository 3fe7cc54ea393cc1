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

// An array holds at most XAR_LIMIT_BYTES / element size elements. The limit is a whole number of
// units, so that rounding up never makes room beyond it.
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

inline std::uint32_t xar_units(const xar_header *header) {
    return header->units_and_step >> XAR_STEP_BITS;
}

inline int xar_step(const xar_header *header) {
    return static_cast<int>(header->units_and_step & XAR_MAXIMUM_STEP);
}

// The bytes between header and trailer.
inline int xar_element_bytes(const xar_header *header) {
    return static_cast<int>(xar_units(header)) * XAR_UNIT_BYTES - XAR_OVERHEAD_BYTES;
}

inline xar_trailer *xar_trailer_of(xar_header *header) {
    char *end = reinterpret_cast<char *>(header) + std::size_t{XAR_UNIT_BYTES} * xar_units(header);
    return reinterpret_cast<xar_trailer *>(end - sizeof(xar_trailer));
}

// Returns the trailer that a header leads to, or null. Checks the units first: those of a damaged
// header could lead anywhere.
inline xar_trailer *xar_checked_trailer(xar_header *header) {
    const std::uint32_t units = xar_units(header);
    if (units < XAR_OVERHEAD_BYTES / XAR_UNIT_BYTES || units > XAR_MAXIMUM_UNITS) {
        return nullptr;
    }
    xar_trailer *trailer = xar_trailer_of(header);
    return trailer->magic == XAR_TRAILER_MAGIC ? trailer : nullptr;
}

inline bool xar_is_valid(const void *elements) {
    if (elements == nullptr) {
        return false;
    }
    xar_header *header = xar_header_of(elements);
    return header->magic == XAR_HEADER_MAGIC && header->element_size != 0 &&
           xar_checked_trailer(header) != nullptr;
}

// The place of the next element of a valid array. The count is read as unsigned: a load without
// sign extension gets the value that the last append stored much sooner.
inline char *xar_end_in_use(void *elements, const xar_trailer *trailer, int element_size) {
    const std::size_t count = static_cast<std::uint32_t>(trailer->count);
    return static_cast<char *>(elements) + count * static_cast<std::size_t>(element_size);
}

// True if count more elements fit between the end in use and the trailer.
inline bool xar_has_room(const char *end_in_use, const xar_trailer *trailer, int count,
                         int element_size) {
    return std::int64_t{count} * element_size <=
           reinterpret_cast<const char *>(trailer) - end_in_use;
}

// True if an address lies inside the elements in use.
inline bool xar_is_inside(const void *elements, const char *end_in_use, const void *address) {
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    return at < reinterpret_cast<std::uintptr_t>(end_in_use) &&
           at >= reinterpret_cast<std::uintptr_t>(elements);
}
