// Zones: arenas whose memory is given back all at once.
#include "coretools/ctmemmgr/zones.h"

#include "basictk/baselib/inc/thrMutex.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/memory_trap.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctmisc/lazy_mutex.h"

#include <cstddef>
#include <cstdint>

namespace {

struct zone_record {
    char **chunks; // extensible array
    int used_units;
    int chunk_units;
    int current_chunk; // -1 before the first
    int in_use;
};

struct array_append {
    void **handle;
    int element_size;
    int step;
    const void *element;
    bool done;
};

constexpr int ZONE_UNIT = 8;
constexpr int ZONE_STEP = 4;
constexpr int CHUNK_STEP = 16;
constexpr int ZONE_LIMIT = INT16_MAX; // an array keeps its zone in 16 bits

} // namespace

static zone_record *zone_arr = nullptr; // extensible array
static int num_in_zone_arr = 0;
static constinit lazy_mutex zone_arr_mutex{thrMutex_Create};

static void *memory_error() {
    error_break("Memory error.");
    return nullptr;
}

static void append_to_array(void *argument) {
    auto *const append = static_cast<array_append *>(argument);
    if (*append->handle == nullptr) {
        *append->handle = xar_alloc(0, append->element_size, append->step);
    }
    append->done =
        *append->handle != nullptr && xar_append(append->handle, 1, append->element) != nullptr;
}

// Appends one element while the zones are locked: false when memory is exhausted. The report must
// not jump out from under the lock, but it may have released it.
template <class T>
static bool append_element(T **array, const T &element, int step) {
    void *handle = *array;
    array_append append = {&handle, static_cast<int>(sizeof(T)), step, &element, false};
    call_with_memory_trap(append_to_array, &append);
    if (append.done) {
        *array = static_cast<T *>(handle);
    }
    return append.done;
}

static zone_record *open_zone(int zone) {
    return zone >= 0 && zone < num_in_zone_arr && zone_arr[zone].in_use != 0 ? &zone_arr[zone]
                                                                             : nullptr;
}

static int units_of(int size) {
    return size / ZONE_UNIT + (size % ZONE_UNIT != 0 ? 1 : 0);
}

int zone_open(int chunk_size) {
    // The last multiple of 8 that is an int ends the range.
    if (chunk_size <= 0 || chunk_size > INT32_MAX / ZONE_UNIT * ZONE_UNIT) {
        return -1;
    }
    const zone_record fresh = {nullptr, 0, units_of(chunk_size), -1, 1};
    lazy_mutex_lock(&zone_arr_mutex);
    int zone = 0;
    while (zone < num_in_zone_arr && zone_arr[zone].in_use != 0) {
        zone++;
    }
    if (zone < num_in_zone_arr) {
        zone_arr[zone] = fresh;
    } else if (zone <= ZONE_LIMIT && append_element(&zone_arr, fresh, ZONE_STEP)) {
        num_in_zone_arr++;
    } else {
        zone = -1;
    }
    lazy_mutex_unlock(&zone_arr_mutex);
    return zone;
}

// A piece of the zone's current chunk, or null; the zones are locked.
static void *take_from_chunk(zone_record *record, int units) {
    if (record->current_chunk < 0 || units > record->chunk_units - record->used_units) {
        return nullptr;
    }
    char *const piece = record->chunks[record->current_chunk] +
                        static_cast<std::size_t>(record->used_units) * ZONE_UNIT;
    record->used_units += units;
    return piece;
}

void *zone_getmem(int zone, int size) {
    lazy_mutex_lock(&zone_arr_mutex);
    zone_record *record = open_zone(zone);
    const int units = size > 0 ? units_of(size) : 0;
    if (record == nullptr || size < 0 || units > record->chunk_units) {
        lazy_mutex_unlock(&zone_arr_mutex);
        return memory_error();
    }
    void *piece = take_from_chunk(record, units);
    const int chunk_bytes = record->chunk_units * ZONE_UNIT;
    lazy_mutex_unlock(&zone_arr_mutex);
    if (piece != nullptr || size == 0) {
        return size != 0 ? piece : nullptr;
    }
    // Taken without the lock: exhausted memory may jump to a trap frame.
    auto *const chunk = static_cast<char *>(getmem(chunk_bytes));
    if (chunk == nullptr) {
        return nullptr;
    }
    lazy_mutex_lock(&zone_arr_mutex);
    record = open_zone(zone);
    if (record == nullptr || units > record->chunk_units) {
        lazy_mutex_unlock(&zone_arr_mutex);
        rlsmem(chunk);
        return memory_error();
    }
    if (!append_element(&record->chunks, chunk, CHUNK_STEP)) {
        lazy_mutex_unlock(&zone_arr_mutex);
        rlsmem(chunk);
        return memory_error();
    }
    record->current_chunk++;
    record->used_units = 0;
    piece = take_from_chunk(record, units);
    lazy_mutex_unlock(&zone_arr_mutex);
    return piece;
}

static void release_chunks(int zone, bool closes) {
    lazy_mutex_lock(&zone_arr_mutex);
    zone_record *const record = open_zone(zone);
    if (record != nullptr) {
        for (int i = 0; i <= record->current_chunk; i++) {
            rlsmem(record->chunks[i]);
        }
        xar_free(&record->chunks);
        record->current_chunk = -1;
        record->used_units = 0;
        record->in_use = closes ? 0 : 1;
    }
    lazy_mutex_unlock(&zone_arr_mutex);
}

void zone_empty(int zone) {
    release_chunks(zone, false);
}

void zone_close(int zone) {
    release_chunks(zone, true);
}
