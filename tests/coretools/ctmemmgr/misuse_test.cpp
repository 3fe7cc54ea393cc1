// Misuse of blocks, pools and arrays, each in a child: how it ends, and the report that says why.
#include "coretools/ctmemmgr/pools_internal.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctmisc/run_mode.h"
#include "tests/coretools/ctmemmgr/memory_test.h"
#include "tests/support/child_process.h"

#include <cstdlib>
#include <string>

namespace {

alignas(8) char foreign[256];

void release_a_record_twice() {
    const int pool = create_mem_pool("twice", 64);
    void *record = getmem_pool(pool);
    (void)getmem_pool(pool); // keeps the area
    set_verbose_mode(1);
    set_run_mode(RUN_MODE_PFA_TRACE);
    rlsmem(record);
    rlsmem(record);
}

void make_a_pool_too_many() {
    while (getmem_pool(CLUMP_LIMIT - 1) == nullptr) {
        create_mem_pool(nullptr, 8);
    }
    set_run_mode(RUN_MODE_USER);
    std::printf("pool %d\n", create_mem_pool(nullptr, 8));
}

constexpr int TOO_LARGE = 65536 - static_cast<int>(sizeof(area_header)) - 7;

constexpr char CRASH[] = "Serious internal error; cannot continue.";
constexpr char CORRUPT[] = "rlsmem:  memory chain is corrupt";
constexpr char TOO_BIG[] = " XAR_PRE_RELOC:  too big array";

// The name of a row is its call. The block of an array starts two ints before its elements.
#define CALL(call) #call, []([[maybe_unused]] int *a) { call; }

// What returns without a trap frame has changed nothing.
TEST(Misuse, EndsTheProcessOrIsRefused) {
    const struct {
        const char *name;
        void (*call)(int *array); // of two elements
        int status;
        std::string report;
    } rows[] = {
        {CALL((set_dont_release_memory(1), rlsmem(a - 2), rlsmem(a - 2))), 2, CORRUPT},
        {CALL(rlsmem(foreign + 128)), 2, CORRUPT},
        {CALL((void)getmem(-1)), 2, CRASH},
        {CALL(release_a_record_twice()), 2, "rlsmem_clump:   release of already released object"},
        {CALL(create_mem_pool("bad", 0)), 2, CRASH},
        {CALL(register_clump("bad", TOO_LARGE)), 2, CRASH},
        {CALL(make_a_pool_too_many()), 0, "pool -1"},
        {CALL((void)xar_alloc(1, 65536, 1)), 2, "XAR_ALLOC:  invalid request"},
        {CALL((void)xar_alloc(2047985, 1, 1)), 2, "XAR_ALLOC:  too big array"},
        {CALL(xar_extend((int **)nullptr, 0)), 2, "XAR_EXTEND:  invalid array"},
        {CALL(xar_extend(&a, -1)), 2, "XAR_EXTEND:  invalid request"},
        {CALL(xar_shrink(&a, 3)), 2, "XAR_SHRINK:  invalid request"},
        {CALL(xar_resize(&a, -1)), 2, "XAR_RESIZE:  invalid request"},
        {CALL((a[2] = -1, xar_last(&a))), 2, "XAR_LAST:  invalid array"},
        {CALL(xar_free(&++a)), 2, "XAR_FREE:  invalid array"},
        {CALL(xar_extend(&a, 511995)), 0, TOO_BIG},
        {CALL(xar_extend(&a, INT32_MAX)), 0, TOO_BIG},
        {CALL((fail_allocation(0, true), (void)xar_alloc(9000, 4, 1))), 0,
         "XAR_ALLOC:  out of memory"},
        {CALL((fail_allocation(0, true), xar_extend(&a, 9000))), 0, " XAR_EXTEND:  out of memory"},
    };
    for (const auto &row : rows) {
        const child_result child = run_in_child([&row] {
            int *array = xar_alloc_of<int>(2, 1);
            row.call(array);
            std::exit(xar_count(&array) == 2 ? 0 : 1);
        });
        EXPECT_EQ(child.status, row.status) << row.name;
        EXPECT_NE(("\n" + child.out).find("\n" + row.report + "\n"), std::string::npos)
            << row.name << " prints\n"
            << child.out;
    }
}

} // namespace
