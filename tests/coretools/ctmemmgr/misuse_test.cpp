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

// At 2048 it looks like a pool record.
alignas(8) char foreign[4096];

void release_a_record_twice() {
    const int pool = create_mem_pool("twice", 64);
    void *record = getmem_pool(pool);
    (void)getmem_pool(pool); // keeps the area
    set_verbose_mode(1);
    set_run_mode(RUN_MODE_PFA_TRACE);
    rlsmem(record);
    rlsmem(record);
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

constexpr int TOO_LARGE = 65536 - static_cast<int>(sizeof(area_header)) - 7;

constexpr char CRASH[] = "Serious internal error; cannot continue.";
constexpr char CORRUPT[] = "rlsmem:  memory chain is corrupt";
constexpr char TWICE[] = "rlsmem_clump:   release of already released object";
constexpr char TOO_BIG[] = " XAR_PRE_RELOC:  too big array";

struct row {
    const char *name;
    void (*call)(int *array); // of two elements
    const char *report;
};

// The name of a row is its call. The block of an array starts two ints before its elements.
#define CALL(call) #call, []([[maybe_unused]] int *a) { call; }

constexpr row FATAL[] = {
    {CALL((set_dont_release_memory(1), rlsmem(a - 2), rlsmem(a - 2))), CORRUPT},
    {CALL(rlsmem(foreign + 128)), CORRUPT},
    {CALL(rlsmem(foreign + 129)), CORRUPT},
    {CALL((void)getmem(-1)), CRASH},
    {CALL(release_a_record_twice()), TWICE},
    {CALL(rlsmem(record_of_pool(CLUMP_LIMIT))), CRASH},
    {CALL((void)relocmem_xar(record_of_pool(CLUMP_LIMIT), 8, 0)), CRASH},
    {CALL((void)relocmem_xar(record_of_pool(-1), 8, 0)), "manage_memory:  memory chain is corrupt"},
    {CALL(rlsmem(foreign + 2048)), CRASH},
    {CALL((void)relocmem_xar(foreign + 2048, 8, 0)), CRASH},
    {CALL(create_mem_pool("bad", 0)), CRASH},
    {CALL(register_clump("bad", TOO_LARGE)), CRASH},
    {CALL(find_non_id_clump(-1)), CRASH},
    {CALL(fill_the_table_of_pools(RUN_MODE_PFA_TRACE)), CRASH},
    {CALL((void)xar_alloc(1, 65536, 1)), "XAR_ALLOC:  invalid request"},
    {CALL((void)xar_alloc(2047985, 1, 1)), "XAR_ALLOC:  too big array"},
    {CALL(xar_append((int **)nullptr, 1, nullptr)), "XAR_EXTEND:  invalid array"},
    {CALL(xar_extend(&a, -1)), "XAR_EXTEND:  invalid request"},
    {CALL(xar_shrink(&a, 3)), "XAR_SHRINK:  invalid request"},
    {CALL(xar_resize(&a, -1)), "XAR_RESIZE:  invalid request"},
    {CALL((a[2] = -1, xar_last(&a))), "XAR_LAST:  invalid array"},
    {CALL(xar_free(&++a)), "XAR_FREE:  invalid array"},
};

// Without a trap frame these return and change nothing.
constexpr row REFUSED[] = {
    {CALL(fill_the_table_of_pools(RUN_MODE_USER)), "pool -1"},
    {CALL(xar_extend(&a, 511995)), TOO_BIG},
    {CALL(xar_extend(&a, INT32_MAX)), TOO_BIG},
    {CALL((fail_allocation(0, true), (void)xar_alloc(9000, 4, 1))), "XAR_ALLOC:  out of memory"},
    {CALL((fail_allocation(0, true), xar_extend(&a, 9000))), " XAR_EXTEND:  out of memory"},
};

void expect_status(int status, const row &misuse) {
    const child_result child = run_in_child([&misuse] {
        int *array = xar_alloc_of<int>(2, 1);
        misuse.call(array);
        std::exit(xar_count(&array) == 2 ? 0 : 1);
    });
    EXPECT_EQ(child.status, status) << misuse.name;
    EXPECT_NE(("\n" + child.out).find("\n" + std::string(misuse.report) + "\n"), std::string::npos)
        << misuse.name << " prints\n"
        << child.out;
}

TEST(Misuse, EndsTheProcessOrIsRefused) {
    std::memcpy(foreign + 2046, &TAG_IN_USE, sizeof TAG_IN_USE);
    for (const row &misuse : FATAL) {
        expect_status(2, misuse);
    }
    for (const row &misuse : REFUSED) {
        expect_status(0, misuse);
    }
}

} // namespace
