// Chunked arrays: chains of extensible arrays.
#include "coretools/ctmemmgr/har.h"

#include "coretools/ctmemmgr/xar.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr std::int64_t WIDEST_STEP_BYTES = 0x30000;

struct chunk_shape {
    int element_size;
    int step;
    int count; // of the chunk asked about
    int limit; // of every chunk
};

chunk_shape shape_of(void *const *chunk) {
    chunk_shape shape{};
    xar_params(chunk, &shape.element_size, &shape.step, &shape.count, &shape.limit);
    return shape;
}

// The last chunk, or null when there is no array.
void **last_chunk(void ***top) {
    return top == nullptr || *top == nullptr ? nullptr : xar_last(top);
}

// Growing and shrinking again leaves room in which the next count elements fit without a move.
template <class Handle>
bool reserve(Handle handle, int count) {
    if (count == 0) {
        return true;
    }
    if (xar_extend(handle, count) == nullptr) {
        return false;
    }
    xar_shrink(handle, count);
    return true;
}

const void *advanced(const void *source, std::int64_t elements, int element_size) {
    return source == nullptr ? nullptr
                             : static_cast<const char *>(source) + elements * element_size;
}

// A list of chunks filled with count elements, all chunks but the last to the limit, or null.
void **filled_chunks(const chunk_shape &shape, int count, const void *source) {
    void **chunks = xar_alloc_of<void *>(0, 2);
    for (int placed = 0; chunks != nullptr && placed < count;) {
        const int part = std::min(count - placed, shape.limit);
        void **chunk = xar_append(&chunks, 1, nullptr);
        if (chunk != nullptr) {
            *chunk = xar_alloc(0, shape.element_size, shape.step);
        }
        if (chunk == nullptr || *chunk == nullptr ||
            xar_append(chunk, part, advanced(source, placed, shape.element_size)) == nullptr) {
            har_free(&chunks);
            return nullptr;
        }
        placed += part;
    }
    return chunks;
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
    void **top = xar_alloc_of<void *>(1, 2);
    if (top == nullptr) {
        xar_free(&chunk);
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
    if (count == 0) {
        return 1;
    }
    const chunk_shape shape = shape_of(last);
    const int room = shape.limit - shape.count;
    if (count <= room) {
        return xar_append(last, count, source) == nullptr ? 0 : 1;
    }

    // Everything that may fail comes first, apart from the array; putting it in place cannot fail.
    void **more = filled_chunks(shape, count - room, advanced(source, room, shape.element_size));
    if (more == nullptr) {
        return 0;
    }
    const int chunks = xar_count(&more);
    if (!reserve(last, room) || !reserve(top, chunks)) {
        har_free(&more);
        return 0;
    }
    last = xar_last(top);
    xar_append(last, room, source);
    xar_append(top, chunks, more);
    xar_free(&more);
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
    if (!reserve(top, 1)) {
        return nullptr;
    }
    void *chunk = xar_alloc(0, shape.element_size, shape.step);
    if (chunk == nullptr) {
        return nullptr;
    }
    void *element = xar_extend(&chunk, 1);
    if (element == nullptr) {
        xar_free(&chunk);
        return nullptr;
    }
    xar_append(top, 1, &chunk);
    return element;
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
