// Chunked arrays: chains of extensible arrays.
#include "coretools/ctmemmgr/har.h"

#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctmemmgr/xar_internal.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

constexpr std::int64_t WIDEST_STEP_BYTES = 0x30000;

struct chunk_shape {
    int element_size;
    int step;
    int count; // of the chunk asked about
    int limit; // of every chunk
};

// All 0 without a chunk, and for a damaged one if the fatal report returns.
chunk_shape shape_of(void *const *chunk) {
    chunk_shape shape{};
    if (chunk != nullptr) {
        xar_params(chunk, &shape.element_size, &shape.step, &shape.count, &shape.limit);
    }
    return shape;
}

// The last chunk, or null when there is no array.
void **last_chunk(void ***top) {
    return top == nullptr || *top == nullptr ? nullptr : xar_last(top);
}

// Appends chunks with `count` elements in all, all but the last full: copied from the source, or
// zero ones if that is null. The top level must have room for them. False, and the array is as it
// was, without memory.
bool append_chunks(void ***top, const chunk_shape &shape, int count, const char *source) {
    const int old_chunks = xar_count(top);
    while (count > 0) {
        const int part = std::min(count, shape.limit);
        void *const chunk = xar_alloc_null(part, shape.element_size, shape.step);
        if (chunk == nullptr) {
            while (xar_count(top) > old_chunks) {
                xar_free(xar_last(top));
                xar_shrink(top, 1);
            }
            return false;
        }
        if (source != nullptr) {
            const std::size_t bytes =
                static_cast<std::size_t>(part) * static_cast<std::size_t>(shape.element_size);
            std::memcpy(chunk, source, bytes);
            source += bytes;
        }
        xar_append(top, 1, &chunk);
        count -= part;
    }
    return true;
}

} // namespace

void **har_alloc(int element_size, int step) {
    if (std::int64_t{element_size} * step > WIDEST_STEP_BYTES) {
        step = std::max(1, static_cast<int>(WIDEST_STEP_BYTES / element_size));
    }
    void *chunk = xar_alloc(0, element_size, step);
    if (chunk == nullptr) {
        return nullptr;
    }
    auto **top = static_cast<void **>(xar_alloc_null(1, sizeof(void *), 2));
    if (top == nullptr) {
        xar_free(&chunk);
        xar_report_exhausted_memory();
        return nullptr;
    }
    top[0] = chunk;
    return top;
}

int har_append(void ***top, int count, const void *source) {
    void **last = last_chunk(top);
    const chunk_shape shape = shape_of(last);
    if (shape.limit == 0) {
        return 0;
    }
    const int room = shape.limit - shape.count;
    if (count > room) {
        // All that may fail comes first, and whatever reports, which may jump, while nothing is
        // held.
        const auto number = last - *top;
        const int added = count - room;
        if (!xar_reserve(last, room) || !xar_reserve(top, (added - 1) / shape.limit + 1)) {
            return 0;
        }
        const auto *rest = static_cast<const char *>(source);
        if (rest != nullptr) {
            rest += static_cast<std::ptrdiff_t>(room) * shape.element_size;
        }
        if (!append_chunks(top, shape, added, rest)) {
            xar_report_exhausted_memory();
            return 0;
        }
        last = *top + number;
        count = room;
    }
    return count == 0 || xar_append(last, count, source) != nullptr ? 1 : 0;
}

void *har_inflate(void ***top) {
    return har_append(top, 1, nullptr) != 0 ? xar_last(xar_last(top)) : nullptr;
}

void *har_access(void ***top, int index, int *chunk, int *offset) {
    void **const last = last_chunk(top);
    const chunk_shape shape = shape_of(last);
    int number = -1;
    int place = -1;
    void *found = nullptr;
    if (shape.limit != 0 && index >= 0 &&
        index < (last - *top) * std::int64_t{shape.limit} + shape.count) {
        number = index / shape.limit;
        place = index % shape.limit;
        found = static_cast<char *>((*top)[number]) +
                static_cast<std::ptrdiff_t>(place) * shape.element_size;
    }
    store_if_wanted(chunk, number);
    store_if_wanted(offset, place);
    return found;
}

void har_free(void ***top) {
    if (top == nullptr) {
        return;
    }
    const int chunks = xar_count(top);
    for (int i = 0; i < chunks; ++i) {
        xar_free(&(*top)[i]);
    }
    xar_free(top);
}
