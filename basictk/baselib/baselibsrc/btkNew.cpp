// Allocation with the two-word header.
#include "basictk/baselib/inc/btkNew.h"

#include "basictk/baselib/inc/btkMemMgr.h"

#include <cstdint>
#include <cstdlib>

namespace {

//  block                              object
//  | manager or null | requested size | size bytes ...
struct block_header {
    btkMemMgr *manager;
    std::size_t size;
};
static_assert(sizeof(block_header) == 2 * sizeof(void *));
static_assert(sizeof(block_header) % 8 == 0, "the object is aligned as its block is");

constexpr int BLOCK_ALIGNMENT = 8;

block_header *header_of(void *object) {
    return static_cast<block_header *>(object) - 1;
}

void *object_of(block_header *header) {
    return header + 1;
}

} // namespace

void *btkNew(std::size_t size, btkMemMgr *manager) noexcept {
    if (size > SIZE_MAX - sizeof(block_header)) {
        return nullptr;
    }
    const std::size_t whole = size + sizeof(block_header);
    void *block =
        manager != nullptr ? manager->AllocMem(whole, BLOCK_ALIGNMENT) : std::malloc(whole);
    if (block == nullptr) {
        return nullptr;
    }
    block_header *header = static_cast<block_header *>(block);
    header->manager = manager;
    header->size = size;
    return object_of(header);
}

void btkDelete(void *object) noexcept {
    if (object == nullptr) {
        return;
    }
    block_header *header = header_of(object);
    if (header->manager != nullptr) {
        header->manager->FreeMem(header);
    } else {
        std::free(header);
    }
}
