// The location registry and its dispatch: what does not compile, what is refused at run time, and
// which types are asked about a name.
#include "coretools/ctpfa/pfaloc_call.h"
#include "coretools/ctpfa/pfamem.h"
#include "tests/support/child_process.h"
#include "tests/support/report_capture.h"

#include <vector>

#include <gtest/gtest.h>

namespace {

// What does not compile.

template <auto METHOD, class Function>
concept registers = requires(Function *function) {
    pfa_loc_method_register(PfaList, METHOD, function);
};
template <auto METHOD, class Function>
concept registers_with_sequence = requires(Function *function) {
    pfa_loc_method_register(PfaList, METHOD, PLM_CALL_FP, function);
};
static_assert(registers<PfaGetMode, int(vek_file *, int *)>);
static_assert(!registers<PfaGetMode, int(vek_file *, unsigned *)>);
static_assert(!registers_with_sequence<PfaGetMode, int(vek_file *, long *)>);
// Known only at run time, any function of a sequence is compiled, and checked then.
static_assert(registers_with_sequence<int(PfaGetMode), int(vek_file *, long *)>);
static_assert(!registers_with_sequence<int(PfaGetMode), int(vek_file *, long)>);

template <auto WRAPPER, auto METHOD, class... Argument>
concept calls = requires(vek_file *record, Argument... argument) {
    WRAPPER(record, METHOD, argument...);
};
static_assert(calls<pfaloc_call_FLPPI, PfaFopen, char *, const char *, int>);
static_assert(!calls<pfaloc_call_FLPPI, PfaFopen, const char *, const char *, int>);
static_assert(!calls<pfaloc_call_FLPII, PfaFopen, char *, int, int>);
static_assert(!calls<pfaloc_call_F, PfaGetMode>);
static_assert(calls<pfaloc_call_FLPPI, int(PfaFopen), int *, const double *, int>);
static_assert(!calls<pfaloc_call_FLPPI, int(PfaFopen), int, const double *, int>);

// What is refused at run time. The registry belongs to the process, so that these tests run in
// processes of their own, in which serious errors are printed and survived.

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

int eight(vek_file *, int *) {
    return 8;
}

int nine(vek_file *, long *) {
    return 9;
}

TEST(LocationRegistry, StoresWhatFitsInTheOpenRegistration) {
    expect_in_own_process([] {
        report_capture reports;
        EXPECT_EQ(pfa_loc_register_setup(TYPE), 1);
        EXPECT_EQ(pfa_loc_register_setup(TYPE), 0);
        EXPECT_EQ(reports.take(), "type PfaList (7) already registered");
        pfa_loc_method_register(OTHER_TYPE, PfaIsFolder, seven);
        EXPECT_EQ(reports.take(), "registry open for type PfaList, not type PfaUNC");
        pfa_loc_method_register(TYPE, int(PfaDeviceIdx), PLM_CALL_F, seven);
        EXPECT_EQ(reports.take(), "");
        pfa_loc_method_register(TYPE, int(PfaIsFolder), PLM_CALL_F, eight);
        EXPECT_EQ(reports.take(), "PfaIsFolder should be PLM_CALL_F, not PLM_CALL_FP");
        pfa_loc_method_register(TYPE, int(PfaGetMode), PLM_CALL_FP, nine);
        EXPECT_EQ(reports.take(), "invalid input"); // the right sequence, not the right pointer

        // Under an unknown sequence any function is stored, but only one of the right type found.
        vek_file record = record_of_type(TYPE);
        pfa_loc_method_register(TYPE, PfaIsFolder, 27, seven);
        EXPECT_EQ(reports.take(), "unknown calling sequence code 27");
        EXPECT_EQ(pfaloc_call_F(&record, PfaIsFolder), 7);
        pfa_loc_method_register(TYPE, int(PfaIsFolder), -1, eight);
        EXPECT_EQ(pfaloc_call_F(&record, PfaIsFolder), PFA_E_NO_METHOD);
    });
}

int copy_both_handles(vek_file *, void **handle, vek_file *, void **second_handle, const void *,
                      int *end) {
    std::swap(*handle, *second_handle);
    *end = 5;
    return PFA_E_NOT_FOUND;
}

TEST(LocationRegistry, CallsWhatTheTypeOffers) {
    expect_in_own_process([] {
        report_capture reports;
        vek_file record = record_of_type(TYPE), same = record, other = record_of_type(OTHER_TYPE);
        EXPECT_EQ(pfaloc_call_F(&record, PfaIsFolder), PFA_E_NO_METHOD) << "no registry yet";
        pfa_loc_register_setup(TYPE);
        pfa_loc_method_register(TYPE, PfaCopyThruCookie, copy_both_handles);

        // Known only at run time, a method gets the parameters that it declares.
        record.location_handle = &record;
        int end = 0;
        EXPECT_EQ(pfaloc_call_FLFLPP(&record, int(PfaCopyThruCookie), &same, "", &end),
                  PFA_E_NOT_FOUND);
        EXPECT_EQ(same.location_handle, &record);
        EXPECT_EQ(end, 5);
        EXPECT_EQ(pfaloc_call_F(nullptr, PfaIsFolder), PFA_E_NO_METHOD);
        EXPECT_EQ(reports.take(), "") << "no valid record is not reported";

        EXPECT_EQ(pfaloc_call_F(&record, PFA_METHODS), PFA_E_NO_METHOD);
        EXPECT_EQ(reports.take(), "no such method 67");
        EXPECT_EQ(pfaloc_call_FI(&record, int(PfaIsFolder), 1), PFA_E_NO_METHOD);
        EXPECT_EQ(reports.take(), "tried to call PfaIsFolder with attrs 3");
        EXPECT_EQ(pfaloc_call_P(PFA_LOCATION_TYPES, PfaDirFreeDetailConfigData, nullptr),
                  PFA_E_NO_METHOD);
        EXPECT_EQ(reports.take(), "unknown location type 10 (out of range)");
        EXPECT_EQ(pfaloc_call_FF(&record, PfaMakeParent, &other), PFA_E_NO_METHOD);
        EXPECT_EQ(reports.take(),
                  "tried to call PfaMakeParent with different types PfaList and PfaUNC");
    });
}

// Which types are asked about a name.

std::vector<int> asked;
int claimed_by = NoLocation;

template <int TYPE_ASKED>
int claim(vek_file *record, const char *, const char *, std::int16_t *) {
    EXPECT_EQ(record->location_type, TYPE_ASKED);
    asked.push_back(TYPE_ASKED);
    return TYPE_ASKED == claimed_by ? PFA_E_NO_ERROR : 100 + TYPE_ASKED;
}

TEST(LocationRegistry, AsksHigherTypesFirstAndLeavesADeclinedRecordItsType) {
    pfa_loc_register_setup(PfaWorkspace);
    pfa_loc_method_register(PfaWorkspace, PfaClaimLocation, claim<PfaWorkspace>);
    pfa_loc_register_setup(PfaCommonspace);
    pfa_loc_method_register(PfaCommonspace, PfaClaimLocation, claim<PfaCommonspace>);
    pfa_loc_register_setup(NoLocation);
    vek_file record;
    const auto parse = [&](int claiming_type, int only_type) {
        record = record_of_type(UniFilesystem);
        asked.clear();
        claimed_by = claiming_type;
        return pfa_parse_location(&record, "plain", nullptr, only_type);
    };
    EXPECT_EQ(parse(PfaWorkspace, PFA_ALL_LOCATIONS), PFA_E_NO_ERROR);
    EXPECT_EQ(asked, (std::vector<int>{PfaCommonspace, PfaWorkspace}));
    EXPECT_EQ(record.location_type, PfaWorkspace);
    EXPECT_EQ(parse(PfaCommonspace, PfaWorkspace), 100 + PfaWorkspace) << "the last one's result";
    EXPECT_EQ(record.location_type, UniFilesystem);
    EXPECT_EQ(parse(PfaCommonspace, UniFilesystem), PFA_E_NOT_FOUND) << "it is not registered";
    EXPECT_EQ(asked, std::vector<int>());
    claimed_by = NoLocation;
}

} // namespace
