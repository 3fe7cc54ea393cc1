// The location registry: what it refuses, what it finds, and whom it asks. The life of a record,
// and the registry that follows it when debugging.
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmisc/run_mode.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfacurdir.h"
#include "coretools/ctpfa/pfaloc_call.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "tests/support/child_process.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/path_records.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <tuple>

#include <gtest/gtest.h>

namespace {

// Switches the reports on, for the rest of the process, which survives them.
void expect_reports() {
    set_verbose_mode(1);
    set_dbg_err_crash(0);
    set_run_mode(RUN_MODE_PFA_TRACE);
    testing::internal::CaptureStdout();
}

// What was printed since the last call.
std::string printed() {
    std::string text = testing::internal::GetCapturedStdout();
    testing::internal::CaptureStdout();
    return text;
}

// The same without the name of the reporting function, and without what the process says when it
// survives a report.
std::string reported() {
    const std::string text = printed();
    const std::size_t start = text.find(":  ");
    const std::size_t end = std::min(text.find("\ndbg_err_crash()"), text.find(" (ORDER"));
    return start == text.npos ? text : text.substr(start + 3, end - start - 3);
}

constexpr int TYPE = PfaList;
constexpr int OTHER_TYPE = PfaUNC;

vek_file record_of_type(int type) {
    vek_file record;
    pfa_init_vek_file(&record);
    record.location_type = type;
    return record;
}

int seven(vek_file *) {
    return 7;
}

int eight(vek_file *, void *) {
    return 8;
}

void expect_registration() {
    expect_reports();
    vek_file first = record_of_type(TYPE), second = record_of_type(OTHER_TYPE);
    vek_file nowhere = record_of_type(NoLocation);
    const auto expect = [](int result, int expected, const std::string &report) {
        EXPECT_EQ(result, expected) << report;
        EXPECT_EQ(reported(), report);
    };
    const auto expect_put = [&](int type, int method, int sequence, pfaloc_impl implementation,
                                const std::string &report) {
        pfa_loc_method_register(type, method, sequence, implementation);
        expect(0, 0, report);
    };
    const auto &setup = pfa_loc_register_setup;
    const auto &inherit = pfa_loc_type_inherit_method;
    const auto &call = pfaloc_call_F;

    expect(call(&first, PfaIsFolder), -1, "");
    expect(pfa_parse_location(&first, "x", nullptr, -1), PFA_E_NOT_FOUND, "");
    expect(setup(-1), 0, "invalid type index -1");
    expect_put(TYPE, PfaIsFolder, PLM_CALL_F, seven,
               "registry open for type NoLocation, not type PfaList");
    expect(setup(0), 1, "closing unopened registry");
    // No row but the open one is written, and row 0 is never open.
    expect_put(NoLocation, PfaIsFolder, PLM_CALL_F, seven,
               "registry open for type NoLocation, not type NoLocation");
    expect(inherit(NoLocation, TYPE, PfaIsFolder), 0, "not currently registering NoLocation");
    expect(setup(TYPE), 1, "");
    expect(setup(TYPE), 0, "type PfaList (7) already registered");
    expect_put(OTHER_TYPE, PfaIsFolder, PLM_CALL_F, seven,
               "registry open for type PfaList, not type PfaUNC");
    expect_put(TYPE, PFA_METHODS, PLM_CALL_F, seven, "invalid input");
    expect_put(TYPE, PfaFopen, PLM_CALL_FLP, seven,
               "PfaFopen should be PLM_CALL_FLPPI, not PLM_CALL_FLP");
    // The code is right, the function is not.
    expect_put(TYPE, PfaIsFolder, PLM_CALL_F, eight,
               "PfaIsFolder should be PLM_CALL_F, not PLM_CALL_FP");
    expect(call(&first, PfaIsFolder), -1, "calling undefined PfaIsFolder method for PfaList");
    // Under an unknown code any function is stored, but only the right one is called.
    expect_put(TYPE, PfaIsFolder, 27, seven, "unknown calling sequence code 27");
    expect(call(&first, PfaIsFolder), 7, "");
    expect_put(TYPE, PfaIsFolder, -1, eight, "unknown calling sequence code -1");
    expect(call(&first, PfaIsFolder), -1, "calling undefined PfaIsFolder method for PfaList");
    expect_put(TYPE, PfaIsFolder, PLM_CALL_F, seven, "");
    expect(setup(OTHER_TYPE), 1, "");
    expect_put(OTHER_TYPE, PfaMakeDir, PLM_CALL_F, seven, "");
    expect(inherit(OTHER_TYPE, TYPE, PfaIsFolder), 1, "");
    expect(inherit(OTHER_TYPE, TYPE, PfaMakeDir), 0, ""); // an empty slot is inherited too
    expect(call(&second, PfaMakeDir), -1, "calling undefined PfaMakeDir method for PfaUNC");
    expect(inherit(OTHER_TYPE, PfaStdio, PfaIsFolder), 0,
           "can't inherit methods from as-yet-unregistered PfaStdio");
    expect(inherit(OTHER_TYPE, 10, PfaIsFolder), 0, "args out of range");
    expect(setup(0), 1, "");
    expect(call(&nowhere, PfaIsFolder), -1, "");
    expect(pfaloc_call_FL(nullptr, PfaFlushFile), -1, "");
    expect(pfaloc_call_FF(&first, PfaMoveDir, nullptr), -1, "");
    expect(call(&first, PFA_METHODS), -1, "no such method 67");
    expect(pfaloc_call_FI(&first, int(PfaIsFolder), 1), -1,
           "tried to call PfaIsFolder with attrs 3");
    expect(pfaloc_call_P(10, PfaDirFreeDetailConfigData, nullptr), -1,
           "unknown location type 10 (out of range)");
    expect(pfaloc_call_FF(&first, PfaMakeParent, &second), -1,
           "tried to call PfaMakeParent with different types PfaList and PfaUNC");
    expect(pfaloc_call_FLFLPP(&second, PfaCopyThruCookie, &first, "", nullptr), -1,
           "tried to call PfaCopyThruCookie with different types PfaUNC and PfaList");
    expect(pfaloc_call_FFP(&first, PfaAltNameInDir, &second, nullptr), -1,
           "calling undefined PfaAltNameInDir method for PfaList");
    set_run_mode(RUN_MODE_USER);
    expect(call(&first, PfaMakeDir), -1, "");
    (void)testing::internal::GetCapturedStdout();
}

TEST(pfaloc_death, RegistrationRefusesAndReports) {
    expect_in_own_process(expect_registration);
}

// What the two types of the claim test were asked, in order.
std::vector<int> asked;
int claimed_by = 0;

template <int type>
int claim(vek_file *record, const char *, const char *, std::int16_t *) {
    EXPECT_EQ(record->location_type, type);
    asked.push_back(type);
    return type == claimed_by ? 0 : 100 + type;
}

TEST(pfaloc, HigherTypesAreAskedFirstAndADeclinedRecordKeepsItsType) {
    pfa_loc_register_setup(PfaWorkspace);
    pfa_loc_method_register(PfaWorkspace, PfaClaimLocation, claim<PfaWorkspace>);
    pfa_loc_register_setup(PfaCommonspace);
    pfa_loc_method_register(PfaCommonspace, PfaClaimLocation, claim<PfaCommonspace>);
    pfa_loc_register_setup(0);
    // Who claims, the type asked alone (-1: all), the result, the record's type and who was asked.
    const std::tuple<int, int, int, int, std::vector<int>> rows[] = {
        {PfaCommonspace, -1, 0, PfaCommonspace, {PfaCommonspace}},
        {PfaWorkspace, -1, 0, PfaWorkspace, {PfaCommonspace, PfaWorkspace}},
        {PfaCommonspace, PfaWorkspace, 103, UniFilesystem, {PfaWorkspace}},
        {0, PfaCommonspace, 109, UniFilesystem, {PfaCommonspace}},
        {0, UniFilesystem, 2, UniFilesystem, {}},
        {0, NoLocation, 2, UniFilesystem, {}},
        {0, 10, 2, UniFilesystem, {}},
        {0, INT_MIN, 2, UniFilesystem, {}},
    };
    for (const auto &[claimer, only_type, result, type, order] : rows) {
        vek_file record = record_of_type(UniFilesystem);
        asked.clear();
        claimed_by = claimer;
        EXPECT_EQ(pfa_parse_location(&record, "plain", nullptr, only_type), result);
        EXPECT_EQ(record.location_type, type);
        EXPECT_EQ(asked, order);
    }
    claimed_by = 0;
}

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
}

// Memory runs out at every step of the first allocation and parse, and comes back: nothing is left
// half made.
TEST(pfamem, MemoryThatRunsOutIsReportedAndHarmless) {
    const auto parse = [](vek_file **record) {
        const int made = pfa_alloc_vek_file(record);
        EXPECT_TRUE(made == 0 || (made == PFA_E_NO_SPACE && *record == nullptr)) << made;
        return made == 0 ? pfa_parse_to_vek_file(*record, "/x/b.prt.3") : PFA_E_OUT_OF_MEMORY;
    };
    int status = 1;
    for (long allocation = 0; status == 1; ++allocation) {
        const auto body = [&parse, allocation] {
            vek_file *record = nullptr, *again = nullptr;
            fail_allocation(allocation, true);
            const int parsed = parse(&record);
            fail_allocation(NO_FAILURE, false);
            EXPECT_TRUE(parsed == 0 || parsed == PFA_E_OUT_OF_MEMORY) << parsed;
            EXPECT_EQ(parse(&again), 0);
            EXPECT_EQ(state_of(again), "/x/|b|prt|3|2");
            _exit(HasFailure() ? 2 : parsed != 0);
        };
        status = run_in_child(body).status;
    }
    EXPECT_EQ(status, 0);
}

std::string hex(const vek_file *record) {
    char text[16];
    std::snprintf(text, sizeof text, "%x", pfa_trace_address(record));
    return text;
}

void expect_mem_debug() {
    vek_file *early = nullptr;
    ASSERT_EQ(pfa_alloc_vek_file(&early), 0);
    expect_reports();
    pfa_set_mem_debug(1);
    vek_file *one = nullptr, *two = nullptr;
    ASSERT_EQ(pfa_alloc_vek_file(&one), 0);
    EXPECT_EQ(printed(),
              "pfa_alloc_vek_file:  Created new pfa at: " + hex(one) + "\n (INFO MESSAGE)\n");
    ASSERT_EQ(pfa_alloc_vek_file(&two), 0);
    (void)pfa_put_component(one, PFA_NAME, "one");
    (void)pfa_put_component(two, PFA_NAME, "two");
    printed();
    char expected[200];
    std::snprintf(expected, sizeof expected, "2 allocated pfas0, at %p, one\n1, at %p, two\n",
                  static_cast<void *>(one), static_cast<void *>(two));
    EXPECT_EQ(pfa_mem_debug(nullptr, 1), 0);
    EXPECT_EQ(printed(), expected);
    pfa_mem_debug(one, 1);
    EXPECT_EQ(reported(), "double allocation at " + hex(one));
    pfa_mem_debug(one, 0);
    EXPECT_EQ(printed(), "");
    (void)pfa_put_component(one, PFA_NAME, "changed");
    pfa_mem_debug(one, 0);
    EXPECT_EQ(reported(), "freeing one, now changed, at " + hex(one) + " twice");
    pfa_mem_debug(nullptr, 0);
    EXPECT_EQ(printed(), "total of 1 pfas, 2 entries");
    pfa_mem_debug(one, 1); // the address comes back
    EXPECT_EQ(printed(), "");
    (void)pfa_free_vek_file(&one);
    (void)pfa_free_vek_file(&two);
    printed();
    pfa_mem_debug(nullptr, 0);
    EXPECT_EQ(printed(), "total of 0 pfas, 2 entries");
    const std::string early_at = hex(early);
    (void)pfa_free_vek_file(&early);
    EXPECT_NE(printed().find("pfa_mem_debug:  freeing unknown pfa at " + early_at),
              std::string::npos);
    (void)pfa_free_vek_file(&early);
    EXPECT_EQ(printed(), "pfa_free_vek_file:  Not freeing NULL pfa\n (INFO MESSAGE)\n");
    pfa_set_mem_debug(0);
    EXPECT_EQ(pfa_mem_debug(nullptr, 0), 0); // off: prints nothing
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(pfamem_death, TheRegistryFollowsRecordsAndReportsWhatIsWrong) {
    expect_in_own_process(expect_mem_debug);
}

} // namespace
