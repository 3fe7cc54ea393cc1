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

// All 0 if the chunk is damaged and the fatal report returns.
chunk_shape shape_of(void *const *chunk) {
    chunk_shape shape{};
    xar_params(chunk, &shape.element_size, &shape.step, &shape.count, &shape.limit);
    return shape;
}

// The last chunk, or null when there is no array.
void **last_chunk(void ***top) {
    return top == nullptr || *top == nullptr ? nullptr : xar_last(top);
}

// Returns the source of the element that is `elements` further on; null stays null.
const void *advanced(const void *source, std::int64_t elements, int element_size) {
    return source == nullptr ? nullptr
                             : static_cast<const char *>(source) + elements * element_size;
}

// Appends chunks with `count` zero elements in all, all but the last full. The top level must have
// room for them. False, and the array is as it was, without memory.
bool append_chunks(void ***top, const chunk_shape &shape, int count) {
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
    if (last == nullptr) {
        return 0;
    }
    const chunk_shape shape = shape_of(last);
    if (shape.limit == 0) {
        return 0;
    }
    if (count == 0) {
        return 1;
    }
    const int room = shape.limit - shape.count;
    if (count <= room) {
        return xar_append(last, count, source) == nullptr ? 0 : 1;
    }

    // All that may fail comes first, and whatever reports, which may jump, while nothing is held.
    const int added = count - room;
    const int first_added = xar_count(top);
    const int chunks = (added - 1) / shape.limit + 1;
    if (!xar_reserve(last, room) || !xar_reserve(top, chunks)) {
        return 0;
    }
    if (!append_chunks(top, shape, added)) {
        xar_report_exhausted_memory();
        return 0;
    }
    xar_append(&(*top)[first_added - 1], room, source);
    for (int i = 0; source != nullptr && i < chunks; ++i) {
        void *const chunk = (*top)[first_added + i];
        const chunk_shape filled = shape_of(&chunk);
        std::memcpy(
            chunk, advanced(source, room + std::int64_t{i} * shape.limit, shape.element_size),
            static_cast<std::size_t>(filled.count) * static_cast<std::size_t>(shape.element_size));
    }
    return 1;
}

void *har_inflate(void ***top) {
    void **last = last_chunk(top);
    if (last == nullptr) {
        return nullptr;
    }
    const chunk_shape shape = shape_of(last);
    if (shape.count < shape.limit) {
        return xar_extend(last, 1);
    }
    if (!xar_reserve(top, 1)) {
        return nullptr;
    }
    void *chunk = xar_alloc(1, shape.element_size, shape.step);
    if (chunk == nullptr) {
        return nullptr;
    }
    xar_append(top, 1, &chunk);
    return chunk;
}

void *har_access(void ***top, int index, int *chunk, int *offset) {
    if (chunk != nullptr) {
        *chunk = -1;
    }
    if (offset != nullptr) {
        *offset = -1;
    }
    void **last = last_chunk(top);
    if (last == nullptr || index < 0) {
        return nullptr;
    }
    const chunk_shape shape = shape_of(last);
    if (shape.limit == 0) {
        return nullptr;
    }
    const int number = index / shape.limit;
    const int place = index % shape.limit;
    const int last_number = static_cast<int>(last - *top);
    if (number > last_number || (number == last_number && place >= shape.count)) {
        return nullptr;
    }
    if (chunk != nullptr) {
        *chunk = number;
    }
    if (offset != nullptr) {
        *offset = place;
    }
    return static_cast<char *>((*top)[number]) +
           static_cast<std::ptrdiff_t>(place) * shape.element_size;
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
