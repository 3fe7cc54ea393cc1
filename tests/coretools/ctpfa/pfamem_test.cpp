// The life of a path record, and the registry that follows records when debugging.
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfacurdir.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfamem_internal.h"
#include "coretools/ctpfa/pfapars.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/path_records.h"
#include "tests/support/report_capture.h"

#include <cstdio>

#include <gtest/gtest.h>

namespace {

TEST(PathRecordLife, RecyclingMakesARecordNew) {
    vek_file *record = nullptr;
    ASSERT_EQ(pfa_alloc_vek_file(&record), PFA_E_NO_ERROR);
    put_state(record, "/a/|b|prt|3|2");
    record->flags = PFA_F_MOUNTED;
    record->encode = 1;
    EXPECT_EQ(pfa_recycle_vek_file(&record), PFA_E_NO_ERROR);
    EXPECT_EQ(state_of(record), "|||0|-4");
    EXPECT_STREQ(record->text, "");
    EXPECT_EQ(record->flags, 0u);
    EXPECT_EQ(record->encode, 0);
    EXPECT_EQ(pfa_free_vek_file(&record), PFA_E_NO_ERROR);
    EXPECT_EQ(record, nullptr);
    EXPECT_EQ(pfa_free_vek_file(&record), PFA_E_NOT_VALID);
}

TEST(PathRecordLife, StatusesHaveNames) {
    EXPECT_STREQ(pfa_error_to_string(PFA_E_NO_METHOD), "PFA_UNKNOWN_ERROR");
    EXPECT_STREQ(pfa_error_to_string(PFA_E_NOT_CACHABLE), "PFA_E_NOT_CACHABLE");
    EXPECT_STREQ(pfa_error_to_string(PFA_E_NOT_CACHABLE + 1), "PFA_UNKNOWN_ERROR");
}

TEST(PathRecordLife, OpenRecordsAndTheCurrentDirectoryAreNotFreed) {
    scoped_record record;
    vek_file *file = record;
    record->flags = PFA_F_OPEN;
    EXPECT_EQ(pfa_free_vek_file(&file), PFA_E_NOT_ALLOWED);
    record->flags = 0;
    vek_file *current = pfa_get_cur_dir();
    EXPECT_EQ(pfa_free_vek_file(&current), PFA_E_INVALID_INPUT);
    EXPECT_EQ(current, pfa_get_cur_dir());
}

// Memory runs out at each step of the first allocation and comes back: nothing is left half made.
TEST(PathRecordLife, MemoryThatRunsOutIsReportedAndHarmless) {
    expect_in_own_process([] {
        rlsmem(getmem(1)); // the allocator itself cannot start without memory
        vek_file *record = nullptr;
        for (const long succeeding : {0, 1}) { // no registry of location types; no pool
            fail_allocation(succeeding, true);
            EXPECT_EQ(pfa_alloc_vek_file(&record), PFA_E_NO_SPACE) << succeeding;
            EXPECT_EQ(record, nullptr);
        }
        fail_allocation(NO_FAILURE, false);
        ASSERT_EQ(pfa_alloc_vek_file(&record), PFA_E_NO_ERROR);
        EXPECT_EQ(pfa_parse_to_vek_file(record, "/x/b.prt.3"), PFA_E_NO_ERROR);
        EXPECT_EQ(state_of(record), "/x/|b|prt|3|2");
    });
}

std::string hex(const vek_file *record) {
    char text[16];
    std::snprintf(text, sizeof text, "%x", pfa_trace_address(record));
    return text;
}

TEST(PathRecordLife, TheDebuggingRegistryReportsWhatIsWrong) {
    expect_in_own_process([] {
        scoped_record early, one;
        report_capture output;
        pfa_set_mem_debug(1);
        EXPECT_EQ(pfa_put_component(one, PFA_NAME, "one"), PFA_E_NO_ERROR);
        pfa_mem_debug(one, 1);
        EXPECT_EQ(output.printed(), "");
        pfa_mem_debug(one, 1);
        EXPECT_EQ(output.take(), "double allocation at " + hex(one));
        pfa_mem_debug(early, 0);
        EXPECT_EQ(output.take(), "freeing unknown pfa at " + hex(early));
        pfa_mem_debug(one, 0);
        EXPECT_EQ(output.printed(), "");
        EXPECT_EQ(pfa_put_component(one, PFA_NAME, "changed"), PFA_E_NO_ERROR);
        pfa_mem_debug(one, 0);
        EXPECT_EQ(output.take(), "freeing one, now changed, at " + hex(one) + " twice");
        pfa_mem_debug(one, 1);
        EXPECT_EQ(output.printed(), "") << "the address has come back";
        pfa_mem_debug(nullptr, 0);
        EXPECT_EQ(output.printed(), "total of 1 pfas, 1 entries");
        pfa_set_mem_debug(0);
    });
}

} // namespace
