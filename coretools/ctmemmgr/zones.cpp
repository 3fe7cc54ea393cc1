// Zones: arenas whose memory is released all at once.
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
    char **chunks;  // extensible array
    int used_units; // of the last chunk
    int chunk_units;
    bool in_use;
};

constexpr int ZONE_UNIT = 8;
constexpr int ZONE_STEP = 4;
constexpr int CHUNK_STEP = 16;
constexpr int ZONE_LIMIT = INT16_MAX; // an array keeps its zone in 16 bits

// Guards the table and its zones. Taken before the locks of the released blocks, of the pools and
// of the chain: the table and the lists of chunks come from the allocator.
constinit lazy_mutex zone_arr_mutex{thrMutex_Create};
zone_record *zone_arr = nullptr; // extensible array
int num_in_zone_arr = 0;

void *memory_error() {
    error_break("Memory error.");
    return nullptr;
}

// Appends one element; false without memory. Must be called under the lock, which the report of
// exhausted memory may have released.
template <class T>
bool append_element(T **array, const T &element, int step) {
    bool done = false;
    call_with_memory_trap([&] {
        if (*array == nullptr) {
            *array = xar_alloc_of<T>(0, step);
        }
        done = *array != nullptr && xar_append(array, 1, &element) != nullptr;
    });
    return done;
}

zone_record *open_zone(int zone) {
    return zone >= 0 && zone < num_in_zone_arr && zone_arr[zone].in_use ? &zone_arr[zone] : nullptr;
}

int units_of(int size) {
    return size / ZONE_UNIT + (size % ZONE_UNIT != 0 ? 1 : 0);
}

// Returns a piece of the zone's last chunk; null if it does not fit.
void *take_from_chunk(zone_record *record, int units) {
    char *const *const chunk = xar_last(&record->chunks);
    if (chunk == nullptr || units > record->chunk_units - record->used_units) {
        return nullptr;
    }
    char *const piece = *chunk + static_cast<std::size_t>(record->used_units) * ZONE_UNIT;
    record->used_units += units;
    return piece;
}

// Stores the size of the zone's chunks in *chunk_units, 0 if it cannot serve so many units, and
// returns a piece of its last chunk, or null.
void *take_piece(int zone, int units, int *chunk_units) {
    const lazy_mutex_guard guard(zone_arr_mutex);
    zone_record *const record = open_zone(zone);
    if (record == nullptr || units > record->chunk_units) {
        *chunk_units = 0;
        return nullptr;
    }
    *chunk_units = record->chunk_units;
    return take_from_chunk(record, units);
}

// Adds a chunk to the zone and returns a piece of it. Null, and the chunk is still the caller's, if
// the zone is no longer that for which the chunk was made, or without memory.
void *take_from_new_chunk(int zone, int units, char *chunk, int chunk_units) {
    const lazy_mutex_guard guard(zone_arr_mutex);
    zone_record *const record = open_zone(zone);
    if (record == nullptr || record->chunk_units != chunk_units ||
        !append_element(&record->chunks, chunk, CHUNK_STEP)) {
        return nullptr;
    }
    record->used_units = 0;
    return take_from_chunk(record, units);
}

// Takes all chunks from a zone: an extensible array, null if there is none.
char **detach_chunks(int zone, bool closes) {
    const lazy_mutex_guard guard(zone_arr_mutex);
    zone_record *const record = open_zone(zone);
    if (record == nullptr) {
        return nullptr;
    }
    char **const chunks = record->chunks;
    *record = {nullptr, 0, record->chunk_units, !closes};
    return chunks;
}

// The chunks go back without the lock: releasing takes that of the memory loop.
void release_chunks(int zone, bool closes) {
    char **chunks = detach_chunks(zone, closes);
    const int count = xar_count(&chunks);
    for (int i = 0; i < count; i++) {
        rlsmem(chunks[i]);
    }
    xar_free(&chunks);
}

} // namespace

int zone_open(int chunk_size) {
    // The last multiple of 8 that is an int ends the range.
    if (chunk_size <= 0 || chunk_size > INT32_MAX / ZONE_UNIT * ZONE_UNIT) {
        return -1;
    }
    const zone_record fresh = {nullptr, 0, units_of(chunk_size), true};
    const lazy_mutex_guard guard(zone_arr_mutex);
    int zone = 0;
    while (zone < num_in_zone_arr && zone_arr[zone].in_use) {
        zone++;
    }
    if (zone < num_in_zone_arr) {
        zone_arr[zone] = fresh;
        return zone;
    }
    if (zone > ZONE_LIMIT || !append_element(&zone_arr, fresh, ZONE_STEP)) {
        return -1;
    }
    num_in_zone_arr++;
    return zone;
}

void *zone_getmem(int zone, int size) {
    if (size < 0) {
        return memory_error();
    }
    const int units = units_of(size);
    int chunk_units = 0;
    void *piece = take_piece(zone, units, &chunk_units);
    if (chunk_units == 0) {
        return memory_error();
    }
    if (piece != nullptr || size == 0) {
        return size != 0 ? piece : nullptr;
    }
    // Made without the lock: exhausted memory may jump to a trap frame.
    auto *const chunk = static_cast<char *>(getmem(chunk_units * ZONE_UNIT));
    if (chunk == nullptr) {
        return nullptr;
    }
    piece = take_from_new_chunk(zone, units, chunk, chunk_units);
    if (piece == nullptr) {
        rlsmem(chunk);
        return memory_error();
    }
    return piece;
}

void zone_empty(int zone) {
    release_chunks(zone, false);
}

void zone_close(int zone) {
    release_chunks(zone, true);
}
