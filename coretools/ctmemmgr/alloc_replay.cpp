// Allocation replay: serials of blocks, and the file of those to look for.
#include "coretools/ctmemmgr/alloc_replay.h"

#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctmemmgr/block_internal.h"

namespace {

constexpr int NO_BAD_INDEX = -1; // no serial is equal to it

// Guarded by the lock of the chain.
std::uint32_t st_memory_loop_counter = 0;
int st_next_bad_index = NO_BAD_INDEX;
int next_bad_size = 0;
std::FILE *bad_index_file = nullptr;

void read_next_bad_index() {
    // A number out of range names no block.
    if (bad_index_file == nullptr || // NOLINTNEXTLINE(cert-err34-c)
        std::fscanf(bad_index_file, "%d %d\n", &st_next_bad_index, &next_bad_size) != 2) {
        st_next_bad_index = NO_BAD_INDEX;
    }
}

} // namespace

std::atomic<int> memory_file_level{REPLAY_OFF};

void set_memory_file_level(int level, std::FILE *bad_indexes) {
    const chain_guard guard;
    st_memory_loop_counter = 0;
    bad_index_file = level == REPLAY_REPORT_BLOCKS ? bad_indexes : nullptr;
    read_next_bad_index();
    memory_file_level.store(level, std::memory_order_relaxed);
}

void memdebug_get_next_bad_index() {
    const chain_guard guard;
    read_next_bad_index();
}

void memdebug_alloc(void *data) {
    const chain_guard guard;
    const std::uint32_t serial = st_memory_loop_counter;
    st_memory_loop_counter = (serial + 1) & NO_SERIAL;
    if (area_invalid(data) == CHAIN_IS_VALID) {
        set_block_serial(data, serial);
        if (memory_file_level.load(std::memory_order_relaxed) == REPLAY_REPORT_BLOCKS &&
            static_cast<std::int64_t>(serial) == st_next_bad_index) {
            const int size = block_size(header_of(data));
            std::printf("memdebug_alloc: %u bytes at %lx won't get released.\n",
                        static_cast<unsigned>(size), reinterpret_cast<unsigned long>(data));
            if (size != next_bad_size) {
                std::printf("memdebug_alloc WARNING:  ");
                std::printf("sizes have changed. Memory loop is NOT VALID!!!\n");
            }
            read_next_bad_index();
        }
    }
}

int memdebug_serial(const void *data) {
    const chain_guard guard;
    if (area_invalid(data) != CHAIN_IS_VALID) {
        return -1;
    }
    const std::uint32_t serial = trailer_of(header_of(data))->mark >> 1;
    return serial == NO_SERIAL ? -1 : static_cast<int>(serial);
}
