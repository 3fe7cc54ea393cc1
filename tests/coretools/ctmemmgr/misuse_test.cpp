// Misuse of blocks, pools and arrays, each in a child: how it ends, and the report that says why.
#include "coretools/ctmemmgr/block_debug.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/pools_internal.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctmisc/run_mode.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_malloc.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace {

// A foreign place that looks like a pool record.
alignas(8) char foreign[4096];

void release_a_record_twice() {
    const int pool = create_mem_pool("twice", 64);
    void *records[] = {getmem_pool(pool), getmem_pool(pool)};
    set_verbose_mode(1);
    set_run_mode(RUN_MODE_PFA_TRACE);
    rlsmem(records[0]);
    rlsmem(records[0]);
}

void use_a_damaged_record() {
    void *record = getmem_pool(create_mem_pool("damaged", 16));
    std::memset(static_cast<char *>(record) - 8, 0x55, 2); // the slot's offset
    (void)relocmem_xar(record, 8, 0);
}

// The number of the pool, read from the header of the area.
void *record_of_pool(int number) {
    void *const record = getmem_pool(create_mem_pool("numbered", 16));
    auto *const slot = static_cast<slot_header *>(record) - 1;
    reinterpret_cast<area_header *>(slot)[-1].pool = static_cast<std::int16_t>(number);
    return record;
}

void fill_the_table_of_pools(int mode) {
    while (getmem_pool(CLUMP_LIMIT - 1) == nullptr) {
        create_mem_pool(nullptr, 8);
    }
    set_run_mode(mode);
    std::printf("pool %d\n", create_mem_pool(nullptr, 8));
}

constexpr char CRASH[] = "Serious internal error; cannot continue.";
constexpr char CORRUPT[] = "rlsmem:  memory chain is corrupt";
constexpr char TOO_BIG[] = " XAR_PRE_RELOC:  too big array";

// Growth beyond the limit, exhausted memory and, for a user, a full table are no misuse: without a
// trap frame they are refused and change nothing.
TEST(Misuse, EndsTheProcessOrIsRefused) {
    constexpr int TOO_LARGE = 65536 - static_cast<int>(sizeof(area_header)) - 7;
    struct {
        int status;
        const char *report;
        void (*misuse)(int *array);
    } const rows[] = {
        {2, CORRUPT, // at a - 2 starts the block, whose memory is kept here
         [](int *a) { set_dont_release_memory(1), rlsmem(a - 2), rlsmem(a - 2); }},
        {2, CORRUPT, [](int *) { rlsmem(foreign + 128); }},
        {2, CORRUPT, [](int *) { rlsmem(foreign + 129); }},
        {2, CRASH, [](int *) { (void)getmem(-1); }},
        {2, "rlsmem_clump:   release of already released object",
         [](int *) { release_a_record_twice(); }},
        {2, CRASH, [](int *) { use_a_damaged_record(); }},
        {2, CRASH, [](int *) { rlsmem(record_of_pool(CLUMP_LIMIT)); }},
        {2, CRASH, [](int *) { rlsmem(record_of_pool(-1)); }},
        {2, CRASH, [](int *) { (void)relocmem_xar(record_of_pool(CLUMP_LIMIT), 8, 0); }},
        {2, "manage_memory:  memory chain is corrupt",
         [](int *) { (void)relocmem_xar(record_of_pool(-1), 8, 0); }},
        {2, CRASH, [](int *) { rlsmem(foreign + 2048); }},
        {2, CRASH, [](int *) { create_mem_pool("bad", 0); }},
        {2, CRASH, [](int *) { register_clump("bad", TOO_LARGE); }},
        {2, CRASH, [](int *) { find_non_id_clump(-1); }},
        {2, CRASH, [](int *) { fill_the_table_of_pools(RUN_MODE_PFA_TRACE); }},
        {0, "pool -1", [](int *) { fill_the_table_of_pools(RUN_MODE_USER); }},
        {2, "XAR_ALLOC:  invalid request", [](int *) { (void)xar_alloc(1, 65536, 1); }},
        {2, "XAR_ALLOC:  too big array", [](int *) { (void)xar_alloc(2047985, 1, 1); }},
        {2, "XAR_EXTEND:  invalid array", [](int *) { xar_append((int **)nullptr, 1, nullptr); }},
        {2, "XAR_EXTEND:  invalid request", [](int *a) { xar_extend(&a, -1); }},
        {2, "XAR_SHRINK:  invalid request", [](int *a) { xar_shrink(&a, 3); }},
        {2, "XAR_RESIZE:  invalid request", [](int *a) { xar_resize(&a, -1); }},
        {2, "XAR_LAST:  invalid array", [](int *a) { a[2] = -1, xar_last(&a); }},
        {2, "XAR_FREE:  invalid array", [](int *a) { xar_free(&++a); }},
        {0, TOO_BIG, [](int *a) { xar_extend(&a, 511995); }},
        {0, TOO_BIG, [](int *a) { xar_extend(&a, INT32_MAX); }},
        {0, "XAR_ALLOC:  out of memory",
         [](int *) { fail_allocation(0, true), (void)xar_alloc(9000, 4, 1); }},
        {0, " XAR_EXTEND:  out of memory",
         [](int *a) { fail_allocation(0, true), xar_extend(&a, 9000); }},
    };
    std::memcpy(foreign + 2046, &TAG_IN_USE, sizeof TAG_IN_USE);
    for (const auto &row : rows) {
        const auto child = run_in_child([&row] {
            int *array = xar_alloc_of<int>(2, 1);
            row.misuse(array);
            std::exit(xar_count(&array) == 2 ? 0 : 1);
        });
        EXPECT_EQ(child.status, row.status) << row.report;
        const std::string report = "\n" + std::string(row.report) + "\n";
        EXPECT_NE(("\n" + child.out).find(report), std::string::npos) << report << child.out;
    }
    for (const int pool : {-1, -8, 499, 500, 1 << 30}) {
        EXPECT_EQ(getmem_pool(pool), nullptr);
    }
}

} // namespace
