// The location registry: registration, inheritance, look-up, and the claim of a name.
#include "coretools/ctpfa/pfaloc.h"

#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmisc/run_mode.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfaloc_call.h"
#include "coretools/ctpfa/pfaloc_internal.h"

#include <cstdio>
#include <cstring>

namespace {

// One location type; type equals the row's own index once the type has been set up. As the rows
// begin as zero bytes, row 0 reads as set up from the start, with no method.
struct loc_row {
    int type;
    pfaloc_impl methods[PFA_METHODS];
};
static_assert(std::is_trivially_copyable_v<loc_row>);

// The tag of each method's function type.
constexpr const plm_function_tag *METHOD_TAGS[] = {
#define PFA_METHOD(name, letters, ...) &plm_tag_of<pfa_method_function<name>>,
#include "coretools/ctpfa/pfaloc_methods.def"
};

// The name under which look-ups report.
constexpr const char *LOOK_UP_NAME = "pfaloc_get_func";

// PFA_LOCATION_TYPES rows; null until the first setup. Never released.
loc_row *KnownLocs = nullptr;

// The type whose registration is open, 0 for none.
int loc_type_being_registered = NoLocation;

bool is_type(int type) {
    return type >= 0 && type < PFA_LOCATION_TYPES;
}

bool is_method(int method) {
    return method >= 0 && method < PFA_METHODS;
}

const char *method_name(int method) {
    return is_method(method) ? locMethodInfo[method].name : "";
}

const char *type_name(int type) {
    return is_type(type) ? locTypeNames[type].name : "";
}

bool is_sequence(int sequence) {
    return sequence >= 0 && sequence < PFA_CALL_SEQUENCES;
}

bool is_registered(int type) {
    return KnownLocs != nullptr && KnownLocs[type].type == type;
}

// Only the row of the open registration may be written, and row 0 never.
bool is_open(int type) {
    return type != NoLocation && type == loc_type_being_registered;
}

void report_wrong_sequence(const loc_method_row &row, int actual) {
    dbg_err_crash("pfa_loc_method_register", "%s should be %s, not %s", row.name,
                  methodAttrTable[row.sequence].name, methodAttrTable[actual].name);
}

} // namespace

bool pfaloc_create_registry() {
    if (KnownLocs == nullptr) {
        KnownLocs = static_cast<loc_row *>(getmem(int(sizeof(loc_row) * PFA_LOCATION_TYPES)));
    }
    return KnownLocs != nullptr;
}

int pfa_loc_register_setup(int type) {
    constexpr const char *NAME = "pfa_loc_register_setup";
    if (type == NoLocation && loc_type_being_registered == NoLocation) {
        dbg_err_crash(NAME, "closing unopened registry");
    }
    if (!is_type(type)) {
        dbg_err_crash(NAME, "invalid type index %d", type);
        return 0;
    }
    if (!pfaloc_create_registry()) {
        return 0;
    }
    if (type == NoLocation) {
        loc_type_being_registered = NoLocation;
        return 1;
    }
    if (is_registered(type)) {
        dbg_err_crash(NAME, "type %s (%d) already registered", locTypeNames[type].name, type);
        return 0;
    }
    KnownLocs[type].type = type;
    loc_type_being_registered = type;
    return 1;
}

void pfa_loc_method_register(int type, int method, int sequence,
                             const pfaloc_impl &implementation) {
    constexpr const char *NAME = "pfa_loc_method_register";
    if (!is_type(type) || !is_method(method)) {
        dbg_err_crash(NAME, "invalid input");
        return;
    }
    if (!is_open(type)) {
        dbg_err_crash(NAME, "registry open for type %s, not type %s",
                      locTypeNames[loc_type_being_registered].name, locTypeNames[type].name);
        return;
    }
    const loc_method_row &row = locMethodInfo[method];
    if (!is_sequence(sequence)) {
        dbg_err_crash(NAME, "unknown calling sequence code %d", sequence);
    } else if (sequence != row.sequence) {
        report_wrong_sequence(row, sequence);
        return;
    } else if (implementation.tag() != nullptr && implementation.tag() != METHOD_TAGS[method]) {
        // The function has other parameters than the method. Its sequence may still be the same.
        if (implementation.tag()->sequence != row.sequence) {
            report_wrong_sequence(row, implementation.tag()->sequence);
        } else {
            dbg_err_crash(NAME, "invalid input");
        }
        return;
    }
    KnownLocs[type].methods[method] = implementation;
}

int pfa_loc_type_inherit_method(int heir, int donor, int method) {
    constexpr const char *NAME = "pfa_loc_type_inherit_methods";
    if (!is_type(heir) || !is_type(donor)) {
        dbg_err_crash(NAME, "args out of range");
        return 0;
    }
    if (!is_open(heir)) {
        dbg_err_crash(NAME, "not currently registering %s", locTypeNames[heir].name);
        return 0;
    }
    if (!is_registered(donor)) {
        dbg_err_crash(NAME, "can't inherit methods from as-yet-unregistered %s",
                      locTypeNames[donor].name);
        return 0;
    }
    if (!is_method(method)) {
        return 0;
    }
    const pfaloc_impl &slot = KnownLocs[donor].methods[method];
    KnownLocs[heir].methods[method] = slot;
    return slot.tag() != nullptr ? 1 : 0;
}

plm_any_function pfaloc_find(const vek_file *record, int method, const plm_function_tag *tag) {
    if (pfa_is_valid(record) == 0) {
        return nullptr;
    }
    return pfaloc_find(record->location_type, method, tag);
}

plm_any_function pfaloc_find(int type, int method, const plm_function_tag *tag) {
    if (!is_type(type)) {
        dbg_err_crash(LOOK_UP_NAME, "unknown location type %d (out of range)", type);
        return nullptr;
    }
    if (KnownLocs == nullptr) {
        return nullptr;
    }
    // A function of another type, stored under an unknown code, can't be called as this method.
    const pfaloc_impl &slot = KnownLocs[type].methods[method];
    if (slot.tag() == tag) {
        return slot.function();
    }
    if (type != NoLocation && is_run_mode(RUN_MODE_PFA_TRACE)) {
        dbg_err_syserr(LOOK_UP_NAME, "calling undefined %s method for %s",
                       locMethodInfo[method].name, locTypeNames[type].name);
    }
    return nullptr;
}

int pfaloc_get_func(const vek_file *record, int method, int sequence, pfaloc_impl *found) {
    if (pfa_is_valid(record) == 0) {
        return 0;
    }
    return pfaloc_get_func_low(record->location_type, method, sequence, found);
}

int pfaloc_get_func_low(int type, int method, int sequence, pfaloc_impl *found) {
    if (!is_method(method)) {
        dbg_err_crash(LOOK_UP_NAME, "no such method %d", method);
        return 0;
    }
    if (sequence != locMethodInfo[method].sequence) {
        dbg_err_crash(LOOK_UP_NAME, "tried to call %s with attrs %d", locMethodInfo[method].name,
                      sequence);
        return 0;
    }
    if (pfaloc_find(type, method, METHOD_TAGS[method]) == nullptr) {
        return 0;
    }
    if (found != nullptr) {
        *found = KnownLocs[type].methods[method];
    }
    return 1;
}

bool pfaloc_same_type(int sequence, int method, const vek_file *first, const vek_file *second) {
    if (pfa_is_valid(first) == 0 || pfa_is_valid(second) == 0) {
        return false;
    }
    if (first->location_type == second->location_type) {
        return true;
    }
    char wrapper[32];
    std::snprintf(wrapper, sizeof wrapper, "pfaloc_call_%s",
                  methodAttrTable[sequence].letters().data());
    dbg_err_crash(wrapper, "tried to call %s with different types %s and %s", method_name(method),
                  type_name(first->location_type), type_name(second->location_type));
    return false;
}

pfa_status pfa_parse_location(vek_file *record, const char *name, std::int16_t *rest,
                              int only_type) {
    if (pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    const bool all = only_type == PFA_ALL_LOCATIONS;
    if (!all && (only_type == NoLocation || !is_type(only_type))) {
        return PFA_E_NOT_FOUND;
    }
    const std::int32_t saved_type = record->location_type;
    const char *colon = name != nullptr ? std::strchr(name, ':') : nullptr;
    const int first = all ? PFA_LOCATION_TYPES - 1 : only_type;
    const int last = all ? 1 : only_type;
    pfa_status result = PFA_E_NOT_FOUND;
    for (int type = first; type >= last && result != PFA_E_NO_ERROR; --type) {
        if (!is_registered(type)) {
            continue;
        }
        record->location_type = type;
        result = pfa_status(pfaloc_call_FPPP(record, PfaClaimLocation, name, colon, rest));
    }
    if (result != PFA_E_NO_ERROR) {
        record->location_type = saved_type;
    }
    return result;
}
