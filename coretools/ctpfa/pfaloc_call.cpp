// The dispatch wrappers. Each is one look-up and one call, typed by its calling sequence.
#include "coretools/ctpfa/pfaloc_call.h"

#include "coretools/ctmemmgr/serious_errors.h"

namespace {

bool is_record(const vek_file *record) {
    return record != nullptr && record->magic == PFA_MAGIC;
}

// The address of a record's location handle (L). A null record is never called with it.
void **handle_of(vek_file *record) {
    return record != nullptr ? &record->location_handle : nullptr;
}

const char *method_name(int method) {
    return method >= 0 && method < PFA_METHODS ? locMethodInfo[method].name : "";
}

const char *type_name(int type) {
    return type >= 0 && type < PFA_LOCATION_TYPES ? locTypeNames[type].name : "";
}

// Calls the implementation for the record's location type with exactly these parameters.
template <class Fn, class... Parameter>
int call(const vek_file *selector, int method, Parameter... parameter) {
    pfaloc_impl found;
    if (pfaloc_get_func(selector, method, plm_sequence_of<Fn>, &found) == 0) {
        return -1;
    }
    return found.get<Fn>()(parameter...);
}

template <class Fn, class... Parameter>
int call_low(int type, int method, Parameter... parameter) {
    pfaloc_impl found;
    if (pfaloc_get_func_low(type, method, plm_sequence_of<Fn>, &found) == 0) {
        return -1;
    }
    return found.get<Fn>()(parameter...);
}

// For the sequences whose two records must lie in one location: different types are reported.
bool same_location(const char *wrapper, int method, const vek_file *first, const vek_file *second) {
    if (!is_record(first) || !is_record(second)) {
        return false;
    }
    if (first->location_type == second->location_type) {
        return true;
    }
    dbg_err_crash(wrapper, "tried to call %s with different types %s and %s", method_name(method),
                  type_name(first->location_type), type_name(second->location_type));
    return false;
}

} // namespace

int pfaloc_call_F(vek_file *record, int method) {
    return call<plm_fn_F>(record, method, record);
}

int pfaloc_call_FF(vek_file *record, int method, vek_file *second) {
    return same_location("pfaloc_call_FF", method, record, second)
               ? call<plm_fn_FF>(record, method, record, second)
               : -1;
}

int pfaloc_call_FFP(vek_file *record, int method, vek_file *second, plm_ptr a) {
    return call<plm_fn_FFP>(record, method, record, second, a);
}

int pfaloc_call_FI(vek_file *record, int method, int a) {
    return call<plm_fn_FI>(record, method, record, a);
}

int pfaloc_call_FII(vek_file *record, int method, int a, int b) {
    return call<plm_fn_FII>(record, method, record, a, b);
}

int pfaloc_call_FL(vek_file *record, int method) {
    return call<plm_fn_FL>(record, method, record, handle_of(record));
}

int pfaloc_call_FLFL(vek_file *record, int method, vek_file *second) {
    return same_location("pfaloc_call_FLFL", method, record, second)
               ? call<plm_fn_FLFL>(record, method, record, handle_of(record), second,
                                   handle_of(second))
               : -1;
}

int pfaloc_call_FLFLPP(vek_file *record, int method, vek_file *second, plm_ptr a, plm_ptr b) {
    return same_location("pfaloc_call_FLFLPP", method, record, second)
               ? call<plm_fn_FLFLPP>(record, method, record, handle_of(record), second,
                                     handle_of(second), a, b)
               : -1;
}

int pfaloc_call_FLI(vek_file *record, int method, int a) {
    return call<plm_fn_FLI>(record, method, record, handle_of(record), a);
}

int pfaloc_call_FLP(vek_file *record, int method, plm_ptr a) {
    return call<plm_fn_FLP>(record, method, record, handle_of(record), a);
}

int pfaloc_call_FLPI(vek_file *record, int method, plm_ptr a, int b) {
    return call<plm_fn_FLPI>(record, method, record, handle_of(record), a, b);
}

int pfaloc_call_FLPII(vek_file *record, int method, plm_ptr a, int b, int c) {
    return call<plm_fn_FLPII>(record, method, record, handle_of(record), a, b, c);
}

int pfaloc_call_FLPIII(vek_file *record, int method, plm_ptr a, int b, int c, int d) {
    return call<plm_fn_FLPIII>(record, method, record, handle_of(record), a, b, c, d);
}

int pfaloc_call_FLPPI(vek_file *record, int method, plm_ptr a, plm_ptr b, int c) {
    return call<plm_fn_FLPPI>(record, method, record, handle_of(record), a, b, c);
}

int pfaloc_call_FLPPPI(vek_file *record, int method, plm_ptr a, plm_ptr b, plm_ptr c, int d) {
    return call<plm_fn_FLPPPI>(record, method, record, handle_of(record), a, b, c, d);
}

int pfaloc_call_FP(vek_file *record, int method, plm_ptr a) {
    return call<plm_fn_FP>(record, method, record, a);
}

int pfaloc_call_FPP(vek_file *record, int method, plm_ptr a, plm_ptr b) {
    return call<plm_fn_FPP>(record, method, record, a, b);
}

int pfaloc_call_FPPP(vek_file *record, int method, plm_ptr a, plm_ptr b, plm_ptr c) {
    return call<plm_fn_FPPP>(record, method, record, a, b, c);
}

int pfaloc_call_FPPS(vek_file *record, int method, plm_ptr a, plm_ptr b, int capacity) {
    return call<plm_fn_FPPS>(record, method, record, a, b, capacity);
}

int pfaloc_call_FPIPPPP(vek_file *record, int method, plm_ptr a, int b, plm_ptr c, plm_ptr d,
                        plm_ptr e, plm_ptr f) {
    return call<plm_fn_FPIPPPP>(record, method, record, a, b, c, d, e, f);
}

int pfaloc_call_FFIIIPP(vek_file *record, int method, vek_file *second, int a, int b, int c,
                        plm_ptr d, plm_ptr e) {
    return call<plm_fn_FFIIIPP>(record, method, record, second, a, b, c, d, e);
}

int pfaloc_call_FPPPP(vek_file *record, int method, plm_ptr a, plm_ptr b, plm_ptr c, plm_ptr d) {
    return call<plm_fn_FPPPP>(record, method, record, a, b, c, d);
}

int pfaloc_call_FLPP(vek_file *record, int method, plm_ptr a, plm_ptr b) {
    return call<plm_fn_FLPP>(record, method, record, handle_of(record), a, b);
}

int pfaloc_call_PP(int type, int method, plm_ptr a, plm_ptr b) {
    return call_low<plm_fn_PP>(type, method, a, b);
}

int pfaloc_call_PPP(int type, int method, plm_ptr a, plm_ptr b, plm_ptr c) {
    return call_low<plm_fn_PPP>(type, method, a, b, c);
}

int pfaloc_call_PPPP(int type, int method, plm_ptr a, plm_ptr b, plm_ptr c, plm_ptr d) {
    return call_low<plm_fn_PPPP>(type, method, a, b, c, d);
}

int pfaloc_call_P(int type, int method, plm_ptr a) {
    return call_low<plm_fn_P>(type, method, a);
}
