// Extensible arrays: creation, growth, shrinking and release.
#include "coretools/ctmemmgr/xar.h"

#include "coretools/ctmemmgr/block_internal.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmemmgr/xar_internal.h"
#include "coretools/ctmemmgr/zones.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace {

constexpr int GENERAL_ALLOCATOR = -1;

// Small arrays that grow one element at a time would move at every append.
constexpr int SMALL_ELEMENT_BYTES = 128;

bool require_valid(const void *const *handle, const char *tag) {
    if (handle != nullptr && xar_is_valid(*handle)) {
        return true;
    }
    err_crash(tag, "invalid array");
    return false;
}

// For the operations to which a null handle is no array at all: false without a report.
bool has_array(const void *const *handle, const char *tag) {
    return (handle == nullptr || *handle != nullptr) && require_valid(handle, tag);
}

void unwind(const char *tag, const char *text) {
    std::printf("%s:  %s\n", tag, text);
    error_break("Memory error.");
}

char *end_in_use(void *elements) {
    xar_header *header = xar_header_of(elements);
    return xar_end_in_use(elements, xar_trailer_of(header), header->element_size);
}

int limit_of(int element_size) {
    return XAR_LIMIT_BYTES / element_size;
}

// Cannot overflow: the capacity is within the limit.
int block_bytes(int capacity, int element_size) {
    const int bytes = capacity * element_size;
    return (bytes + XAR_UNIT_BYTES - 1) / XAR_UNIT_BYTES * XAR_UNIT_BYTES + XAR_OVERHEAD_BYTES;
}

// The room of an array created empty. The environment is read once, at the first array of all.
int room_when_empty() {
    static const int room = std::getenv("DEBUG_XAR") == nullptr ? 1 : 0;
    return room;
}

// How much wider than the base step an array grows at its nth move, counted from 1.
double growth_factor(int move) {
    constexpr double FIRST_MOVES[] = {1.0, 1.3, 1.6, 2.0};
    constexpr int LISTED = static_cast<int>(std::size(FIRST_MOVES));
    constexpr double LATER_MOVE = 1.15; // wider than the move before
    return move <= LISTED ? FIRST_MOVES[move - 1]
                          : FIRST_MOVES[LISTED - 1] * std::pow(LATER_MOVE, move - LISTED);
}

// A step of the limit grows any array to its limit: no wider one is needed.
int growth_step(int base, int move) {
    if (move <= 0) {
        return base;
    }
    // A product that should be whole may come out just below; this keeps it from being cut.
    constexpr double CUT_GUARD = 0.1;
    const double widened = CUT_GUARD + base * growth_factor(move);
    return widened < XAR_LIMIT_BYTES ? static_cast<int>(widened) : XAR_LIMIT_BYTES;
}

int grown_capacity(xar_header *header, int count) {
    const int element_size = header->element_size;
    const int move = get_force_ignore_reloc_cnt() != 0 ? 1 : -xar_trailer_of(header)->zone;
    const int step = growth_step(xar_step(header), move);
    const int capacity = xar_element_bytes(header) / element_size;
    return std::min(capacity + ((count - 1) / step + 1) * step, limit_of(element_size));
}

// The block of a zone array stays with its zone; only its contents move. Its trailer is cleared, so
// that a stale handle is no longer valid.
void *resized_block(xar_header *header, int zone, int old_bytes, int new_bytes) {
    if (zone < 0) {
        return relocmem_xar(header, new_bytes, XAR_BLOCK);
    }
    void *block = zone_getmem(zone, new_bytes);
    if (block != nullptr) {
        *xar_trailer_of(header) = {};
        std::memcpy(block, header, static_cast<std::size_t>(old_bytes));
    }
    return block;
}

// Moves the array to a block with room for count more elements, and extends it by them.
void *extend_by_moving(void **handle, int count) {
    xar_header *header = xar_header_of(*handle);
    const xar_trailer old_trailer = *xar_trailer_of(header);
    const int element_size = header->element_size;
    if (count > limit_of(element_size) - old_trailer.count) {
        unwind(" XAR_PRE_RELOC", "too big array");
        return nullptr;
    }
    const int old_element_bytes = xar_element_bytes(header);
    const int new_bytes = block_bytes(grown_capacity(header, count), element_size);
    void *block =
        resized_block(header, old_trailer.zone, old_element_bytes + XAR_OVERHEAD_BYTES, new_bytes);
    if (block == nullptr) {
        unwind(" XAR_EXTEND", "out of memory");
        return nullptr;
    }

    header = static_cast<xar_header *>(block);
    char *elements = static_cast<char *>(xar_elements_of(header));
    std::memset(elements + old_element_bytes, 0, sizeof(xar_trailer));
    header->units_and_step = xar_pack(new_bytes / XAR_UNIT_BYTES, xar_step(header));
    int zone = old_trailer.zone;
    if (zone < 0 && zone > INT16_MIN) {
        --zone;
    }
    *xar_trailer_of(header) = {XAR_TRAILER_MAGIC, static_cast<std::int16_t>(zone),
                               old_trailer.count + count};
    *handle = elements;
    return elements + static_cast<std::ptrdiff_t>(old_trailer.count) * element_size;
}

// `first` is where the elements in use end.
void *extend(void **handle, int count, char *first) {
    xar_header *header = xar_header_of(*handle);
    xar_trailer *trailer = xar_trailer_of(header);
    if (!xar_has_room(first, trailer, count, header->element_size)) {
        return extend_by_moving(handle, count);
    }
    trailer->count += count;
    return first;
}

void *make_array(int zone, int count, int element_size, int step, failure_mode mode) {
    if (count == 0 && step == 0) {
        return nullptr;
    }
    if (count < 0 || element_size < 1 || element_size > XAR_MAXIMUM_ELEMENT_SIZE || step < 1 ||
        zone > INT16_MAX) {
        err_crash("XAR_ALLOC", "invalid request");
        return nullptr;
    }
    if (count == 0 && step == 1 && element_size < SMALL_ELEMENT_BYTES) {
        step = 2;
    }
    if (get_force_ext_no() != 0) {
        step = 1;
    }
    if (count > limit_of(element_size)) {
        err_crash("XAR_ALLOC", "too big array");
        return nullptr;
    }
    const int bytes = block_bytes(std::max(count, room_when_empty()), element_size);
    void *block = zone < 0 ? allocate_block(bytes, mode, XAR_BLOCK) : zone_getmem(zone, bytes);
    if (block == nullptr) {
        if (mode == FAIL_TO_TRAPS) {
            unwind("XAR_ALLOC", "out of memory");
        }
        return nullptr;
    }
    auto *header = static_cast<xar_header *>(block);
    *header = {xar_pack(bytes / XAR_UNIT_BYTES, std::min(step, XAR_MAXIMUM_STEP)),
               static_cast<std::uint16_t>(element_size), XAR_HEADER_MAGIC};
    const int owner = zone < 0 ? GENERAL_ALLOCATOR : zone;
    *xar_trailer_of(header) = {XAR_TRAILER_MAGIC, static_cast<std::int16_t>(owner), count};
    return xar_elements_of(header);
}

} // namespace

void *xar_alloc(int count, int element_size, int step) {
    return zone_xar_alloc(GENERAL_ALLOCATOR, count, element_size, step);
}

void *zone_xar_alloc(int zone, int count, int element_size, int step) {
    return make_array(zone, count, element_size, step, FAIL_TO_TRAPS);
}

void *xar_alloc_null(int count, int element_size, int step) {
    return make_array(GENERAL_ALLOCATOR, count, element_size, step, FAIL_SOFTLY);
}

void xar_report_exhausted_memory() {
    report_exhausted_memory();
    unwind("XAR_ALLOC", "out of memory");
}

void *xar_extend(void **handle, int count) {
    if (count == 0) {
        require_valid(handle, "XAR_EXTEND");
        return nullptr;
    }
    return xar_append(handle, count, nullptr);
}

void *xar_append(void **handle, int count, const void *source) {
    if (count == 0) {
        return xar_last(handle);
    }
    if (!require_valid(handle, "XAR_EXTEND")) {
        return nullptr;
    }
    if (count < 0) {
        err_crash("XAR_EXTEND", "invalid request");
        return nullptr;
    }
    // A source in the array itself moves with it.
    const std::size_t element_size = xar_header_of(*handle)->element_size;
    const auto *elements = static_cast<const char *>(*handle);
    char *end = end_in_use(*handle);
    const bool inside = xar_is_inside(elements, end, source);
    const std::ptrdiff_t offset = inside ? static_cast<const char *>(source) - elements : 0;
    if (inside) {
        dbg_print_info("XAR_APPEND", ": don't ask for trouble. Use xar_replicate");
    }
    void *first = extend(handle, count, end);
    if (first == nullptr || source == nullptr) {
        return first;
    }
    if (inside) {
        source = static_cast<const char *>(*handle) + offset;
    }
    std::memmove(first, source, static_cast<std::size_t>(count) * element_size);
    return first;
}

int xar_count(const void *const *handle) {
    if (!has_array(handle, "XAR_COUNT")) {
        return 0;
    }
    return xar_trailer_of(xar_header_of(*handle))->count;
}

void *xar_last(void *const *handle) {
    if (!has_array(handle, "XAR_LAST")) {
        return nullptr;
    }
    xar_header *header = xar_header_of(*handle);
    if (xar_trailer_of(header)->count == 0) {
        return nullptr;
    }
    return end_in_use(*handle) - header->element_size;
}

void *xar_shrink(void **handle, int count) {
    if (!require_valid(handle, "XAR_SHRINK")) {
        return nullptr;
    }
    xar_header *header = xar_header_of(*handle);
    xar_trailer *trailer = xar_trailer_of(header);
    if (count < 0 || count > trailer->count) {
        err_crash("XAR_SHRINK", "invalid request");
        return nullptr;
    }
    trailer->count -= count;
    std::memset(end_in_use(*handle), 0, static_cast<std::size_t>(count) * header->element_size);
    return xar_last(handle);
}

bool xar_reserve(void **handle, int count) {
    if (count == 0) {
        return true;
    }
    if (xar_extend(handle, count) == nullptr) {
        return false;
    }
    xar_shrink(handle, count);
    return true;
}

int xar_resize(void **handle, int new_count) {
    if (handle != nullptr && *handle == nullptr && new_count == 0) {
        return 0;
    }
    if (!require_valid(handle, "XAR_RESIZE")) {
        return 0;
    }
    if (new_count < 0) {
        err_crash("XAR_RESIZE", "invalid request");
        return 0;
    }
    const int count = xar_count(handle);
    if (new_count > count) {
        xar_extend(handle, new_count - count);
    } else {
        xar_shrink(handle, count - new_count);
    }
    return 0;
}

void xar_params(const void *const *handle, int *element_size, int *step, int *count, int *maximum) {
    if (!has_array(handle, "XAR_PARAMS")) {
        return;
    }
    xar_header *header = xar_header_of(*handle);
    store_if_wanted(element_size, int{header->element_size});
    store_if_wanted(step, xar_step(header));
    store_if_wanted(count, xar_trailer_of(header)->count);
    store_if_wanted(maximum, limit_of(header->element_size));
}

void xar_free(void **handle) {
    if (!has_array(handle, "XAR_FREE")) {
        return;
    }
    xar_header *header = xar_header_of(*handle);
    const bool general = xar_trailer_of(header)->zone < 0;
    *handle = nullptr;
    if (general) {
        rlsmem(header);
    }
}

int int_in_list(int value, const int *handle) {
    const void *untyped = handle;
    const int count = xar_count(&untyped);
    const int *found = std::find(handle, handle + count, value);
    return found == handle + count ? -1 : static_cast<int>(found - handle);
}
