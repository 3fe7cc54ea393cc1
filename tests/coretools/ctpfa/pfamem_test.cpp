// The life of a record, and the registry that follows it when debugging.
#include "coretools/ctpfa/pfamem.h"

#include "coretools/ctpfa/pfacurdir.h"
#include "coretools/ctpfa/pfapars.h"
#include "tests/coretools/ctpfa/directory_test_util.h"
#include "tests/coretools/ctpfa/record_state.h"
#include "tests/coretools/ctpfa/report_capture.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_malloc.h"

#include <gtest/gtest.h>

namespace {

TEST(pfamem, ANewRecordIsEmptyAndAFreedOneGone) {
    vek_file *record = nullptr;
    ASSERT_EQ(pfa_alloc_vek_file(&record), 0);
    const vek_file fresh = *record;
    put_state(record, "/a/|b|prt|3|2");
    record->flags = 7;
    EXPECT_EQ(pfa_recycle_vek_file(&record), 0);
    EXPECT_EQ(state_of(record), "|||0|-4");
    EXPECT_EQ(std::memcmp(&fresh.flags, &record->flags, 12), 0);
    record->flags = PFA_F_OPEN;
    EXPECT_EQ(pfa_free_vek_file(&record), PFA_E_NOT_ALLOWED);
    record->flags = 0;
    EXPECT_EQ(pfa_free_vek_file(&record), 0);
    EXPECT_EQ(record, nullptr);
    EXPECT_EQ(pfa_free_vek_file(&record), PFA_E_NOT_VALID);
    vek_file *current = pfa_get_cur_dir();
    EXPECT_EQ(pfa_free_vek_file(&current), PFA_E_INVALID_INPUT);
    EXPECT_EQ(current, pfa_get_cur_dir());
    EXPECT_EQ(pfa_alloc_vek_file(nullptr), PFA_E_NOT_VALID);
    EXPECT_EQ(pfa_free_vek_file(nullptr), PFA_E_NOT_VALID);
    EXPECT_EQ(pfa_recycle_vek_file(nullptr), PFA_E_NOT_VALID);
}

// Memory runs out at every step of the first allocation and parse, and comes back: nothing is left
// half made.
TEST(pfamem, MemoryThatRunsOutIsReportedAndHarmless) {
    bool failed = true;
    for (long allocation = 0; failed; ++allocation) {
        const child_result child = run_in_child([allocation] {
            vek_file *record = nullptr;
            fail_allocation(allocation, true);
            const int made = pfa_alloc_vek_file(&record);
            const int parsed = made == 0 ? pfa_parse_to_vek_file(record, "/x/b.prt.3") : 0;
            fail_allocation(NO_FAILURE, false);
            const bool right = made == 0 ? parsed == 0 || parsed == PFA_E_OUT_OF_MEMORY
                                         : made == PFA_E_NO_SPACE && record == nullptr;
            vek_file *again = nullptr;
            const bool recovered = pfa_alloc_vek_file(&again) == 0 &&
                                   pfa_parse_to_vek_file(again, "/x/b.prt.3") == 0 &&
                                   state_of(again) == "/x/|b|prt|3|2";
            _exit(!right || !recovered ? 2 : made != 0 || parsed != 0);
        });
        ASSERT_TRUE(child.status == 0 || child.status == 1) << allocation << ": " << child.status;
        failed = child.status == 1;
    }
}

std::string hex(const vek_file *record) {
    char text[16];
    std::snprintf(text, sizeof text, "%x", pfa_trace_address(record));
    return text;
}

TEST(pfamem, TheRegistryFollowsRecordsAndReportsWhatIsWrong) {
    EXPECT_EQ(pfa_mem_debug(nullptr, 1), 0); // off: prints nothing
    vek_file *early = nullptr;
    ASSERT_EQ(pfa_alloc_vek_file(&early), 0);
    report_capture reports;
    pfa_set_mem_debug(1);
    vek_file *one = nullptr;
    vek_file *two = nullptr;
    ASSERT_EQ(pfa_alloc_vek_file(&one), 0);
    EXPECT_EQ(reports.take(),
              "pfa_alloc_vek_file:  Created new pfa at: " + hex(one) + "\n (INFO MESSAGE)\n");
    ASSERT_EQ(pfa_alloc_vek_file(&two), 0);
    pfa_put_component(one, PFA_NAME, "one");
    pfa_put_component(two, PFA_NAME, "two");
    reports.take();
    char expected[200];
    std::snprintf(expected, sizeof expected, "2 allocated pfas0, at %p, one\n1, at %p, two\n",
                  static_cast<void *>(one), static_cast<void *>(two));
    EXPECT_EQ(pfa_mem_debug(nullptr, 1), 0);
    EXPECT_EQ(reports.take(), expected);
    pfa_mem_debug(one, 1);
    EXPECT_EQ(reports.take_text(), "double allocation at " + hex(one));
    pfa_mem_debug(one, 0);
    EXPECT_EQ(reports.take(), "");
    pfa_put_component(one, PFA_NAME, "changed");
    pfa_mem_debug(one, 0);
    EXPECT_EQ(reports.take_text(), "freeing one, now changed, at " + hex(one) + " twice");
    pfa_mem_debug(nullptr, 0);
    EXPECT_EQ(reports.take(), "total of 1 pfas, 2 entries");
    pfa_mem_debug(one, 1); // the address comes back
    EXPECT_EQ(reports.take(), "");
    pfa_free_vek_file(&one);
    pfa_free_vek_file(&two);
    reports.take();
    pfa_mem_debug(nullptr, 0);
    EXPECT_EQ(reports.take(), "total of 0 pfas, 2 entries");
    const std::string early_at = hex(early);
    pfa_free_vek_file(&early);
    EXPECT_NE(reports.take().find("pfa_mem_debug:  freeing unknown pfa at " + early_at),
              std::string::npos);
    pfa_free_vek_file(&early);
    EXPECT_EQ(reports.take(), "pfa_free_vek_file:  Not freeing NULL pfa\n (INFO MESSAGE)\n");
    pfa_set_mem_debug(0);
    EXPECT_EQ(pfa_mem_debug(nullptr, 0), 0);
    EXPECT_EQ(reports.take(), "");
}

} // namespace
