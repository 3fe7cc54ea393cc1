// The location registry: what it refuses, what it finds, and whom it asks.
#include "coretools/ctpfa/pfaloc.h"
#include "coretools/ctpfa/pfaloc_call.h"
#include "coretools/ctpfa/pfamem.h"
#include "tests/coretools/ctpfa/report_capture.h"

#include <climits>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <string_view>
#include <vector>

namespace {

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

int eight(vek_file *, plm_ptr) {
    return 8;
}

// Needs a process of its own, in which nothing is registered yet.
void run_registration() {
    report_capture reports;
    vek_file first = record_of_type(TYPE);
    vek_file second = record_of_type(OTHER_TYPE);
    vek_file nowhere = record_of_type(NoLocation);
    vek_file freed = record_of_type(TYPE);
    freed.magic = 0;
    const auto setup = [](int type) { return [=] { return pfa_loc_register_setup(type); }; };
    const auto put = [](int type, int method, int sequence, pfaloc_impl implementation) {
        return [=] {
            pfa_loc_method_register(type, method, sequence, implementation);
            return 0;
        };
    };
    const auto inherit = [](int heir, int donor, int method) {
        return [=] { return pfa_loc_type_inherit_method(heir, donor, method); };
    };
    const auto call = [](vek_file *record, int method) {
        return [=] { return pfaloc_call_F(record, method); };
    };
    const struct {
        std::function<int()> act;
        int result;
        std::string report;
    } steps[] = {
        {call(&first, PfaIsFolder), -1, ""},
        {[&] { return pfa_parse_location(&first, "x", nullptr, -1); }, 2, ""},
        {setup(-1), 0, "invalid type index -1"},
        {put(TYPE, PfaIsFolder, PLM_CALL_F, seven), 0,
         "registry open for type NoLocation, not type PfaList"},
        {setup(0), 1, "closing unopened registry"},
        // No row but the open one is written, and row 0 is never open.
        {put(NoLocation, PfaIsFolder, PLM_CALL_F, seven), 0,
         "registry open for type NoLocation, not type NoLocation"},
        {inherit(NoLocation, TYPE, PfaIsFolder), 0, "not currently registering NoLocation"},
        {setup(TYPE), 1, ""},
        {setup(TYPE), 0, "type PfaList (7) already registered"},
        {put(OTHER_TYPE, PfaIsFolder, PLM_CALL_F, seven), 0,
         "registry open for type PfaList, not type PfaUNC"},
        {put(TYPE, PFA_METHODS, PLM_CALL_F, seven), 0, "invalid input"},
        {put(TYPE, PfaFopen, PLM_CALL_FLP, seven), 0,
         "PfaFopen should be PLM_CALL_FLPPI, not PLM_CALL_FLP"},
        // The code is right, the function is not.
        {put(TYPE, PfaIsFolder, PLM_CALL_F, eight), 0,
         "PfaIsFolder should be PLM_CALL_F, not PLM_CALL_FP"},
        {call(&first, PfaIsFolder), -1, "calling undefined PfaIsFolder method for PfaList"},
        // Under an unknown code any function is stored, but only the right one is called.
        {put(TYPE, PfaIsFolder, 27, seven), 0, "unknown calling sequence code 27"},
        {call(&first, PfaIsFolder), 7, ""},
        {put(TYPE, PfaIsFolder, -1, eight), 0, "unknown calling sequence code -1"},
        {call(&first, PfaIsFolder), -1, "calling undefined PfaIsFolder method for PfaList"},
        {put(TYPE, PfaIsFolder, PLM_CALL_F, seven), 0, ""},
        {setup(OTHER_TYPE), 1, ""},
        {put(OTHER_TYPE, PfaMakeDir, PLM_CALL_F, seven), 0, ""},
        {inherit(OTHER_TYPE, TYPE, PfaIsFolder), 1, ""},
        {inherit(OTHER_TYPE, TYPE, PfaMakeDir), 0, ""}, // an empty slot is inherited too
        {call(&second, PfaMakeDir), -1, "calling undefined PfaMakeDir method for PfaUNC"},
        {inherit(OTHER_TYPE, PfaStdio, PfaIsFolder), 0,
         "can't inherit methods from as-yet-unregistered PfaStdio"},
        {inherit(OTHER_TYPE, 10, PfaIsFolder), 0, "args out of range"},
        {setup(0), 1, ""},
        {call(nullptr, PfaIsFolder), -1, ""},
        {call(&freed, PfaIsFolder), -1, ""},
        {call(&nowhere, PfaIsFolder), -1, ""},
        {[] { return pfaloc_call_FL(nullptr, PfaFlushFile); }, -1, ""},
        {[&] { return pfaloc_call_FF(&first, PfaMoveDir, nullptr); }, -1, ""},
        {call(&first, PFA_METHODS), -1, "no such method 67"},
        {[&] { return pfaloc_call_FI(&first, PfaIsFolder, 1); }, -1,
         "tried to call PfaIsFolder with attrs 3"},
        {[] { return pfaloc_call_P(10, PfaDirFreeDetailConfigData, nullptr); }, -1,
         "unknown location type 10 (out of range)"},
        {[&] { return pfaloc_call_FF(&first, PfaMakeParent, &second); }, -1,
         "tried to call PfaMakeParent with different types PfaList and PfaUNC"},
        {[&] { return pfaloc_call_FLFLPP(&second, PfaCopyThruCookie, &first, "", nullptr); }, -1,
         "tried to call PfaCopyThruCookie with different types PfaUNC and PfaList"},
        {[&] { return pfaloc_call_FFP(&first, PfaAltNameInDir, &second, nullptr); }, -1,
         "calling undefined PfaAltNameInDir method for PfaList"},
        {[&] { return set_run_mode(1), pfaloc_call_F(&first, PfaMakeDir); }, -1, ""},
    };
    for (std::size_t i = 0; i < std::size(steps); ++i) {
        EXPECT_EQ(steps[i].act(), steps[i].result) << "step " << i;
        EXPECT_EQ(reports.take_text(), steps[i].report) << "step " << i;
    }
}

TEST(pfaloc_death, RegistrationRefusesAndReports) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            run_registration();
            std::exit(HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

// What the two types of the claim test were asked, in order.
std::vector<int> asked;
int claimed_by = 0;

template <int type>
int claim(vek_file *record, plm_ptr name, plm_ptr colon, plm_ptr) {
    EXPECT_EQ(record->location_type, type);
    const std::string_view text = name.as<const char>() ? name.as<const char>() : "";
    EXPECT_EQ(colon.as<const char>(),
              text.find(':') == text.npos ? nullptr : text.data() + text.find(':'));
    asked.push_back(type);
    return type == claimed_by ? 0 : 100 + type;
}

TEST(pfaloc, HigherTypesAreAskedFirstAndADeclinedRecordKeepsItsType) {
    pfa_loc_register_setup(PfaWorkspace);
    pfa_loc_method_register<PfaClaimLocation>(PfaWorkspace, claim<PfaWorkspace>);
    pfa_loc_register_setup(PfaCommonspace);
    pfa_loc_method_register<PfaClaimLocation>(PfaCommonspace, claim<PfaCommonspace>);
    pfa_loc_register_setup(0);
    const struct {
        int claimer, only_type, result, type;
        std::vector<int> order;
    } rows[] = {
        {PfaCommonspace, -1, 0, PfaCommonspace, {PfaCommonspace}},
        {PfaWorkspace, -1, 0, PfaWorkspace, {PfaCommonspace, PfaWorkspace}},
        {PfaCommonspace, PfaWorkspace, 103, UniFilesystem, {PfaWorkspace}},
        {0, PfaCommonspace, 109, UniFilesystem, {PfaCommonspace}},
        {0, UniFilesystem, 2, UniFilesystem, {}},
        {0, NoLocation, 2, UniFilesystem, {}},
        {0, 10, 2, UniFilesystem, {}},
        {0, INT_MIN, 2, UniFilesystem, {}},
    };
    for (const auto &row : rows) {
        for (const char *name : {"a:b:c", "plain"}) {
            vek_file record = record_of_type(UniFilesystem);
            asked.clear();
            claimed_by = row.claimer;
            EXPECT_EQ(pfa_parse_location(&record, name, nullptr, row.only_type), row.result);
            EXPECT_EQ(record.location_type, row.type);
            EXPECT_EQ(asked, row.order);
        }
    }
    claimed_by = 0;
    EXPECT_EQ(pfa_parse_location(nullptr, "x", nullptr, -1), PFA_E_NOT_VALID);
}

} // namespace
