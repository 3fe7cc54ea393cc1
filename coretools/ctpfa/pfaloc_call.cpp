// What the call wrappers share.
#include "coretools/ctpfa/pfaloc_call.h"

#include "coretools/ctmemmgr/serious_errors.h"

#include <cstdio>

namespace {

bool is_record(const vek_file *record) {
    return record != nullptr && record->magic == PFA_MAGIC;
}

const char *method_name(int method) {
    return method >= 0 && method < PFA_METHODS ? locMethodInfo[method].name : "";
}

const char *type_name(int type) {
    return type >= 0 && type < PFA_LOCATION_TYPES ? locTypeNames[type].name : "";
}

} // namespace

bool pfaloc_same_type(int sequence, int method, const vek_file *first, const vek_file *second) {
    if (!is_record(first) || !is_record(second)) {
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
