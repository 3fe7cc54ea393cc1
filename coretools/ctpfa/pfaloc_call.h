// The call wrappers, one for each calling sequence: pfaloc_call_F, pfaloc_call_FLPPI and so on.
//
//     int result = pfaloc_call_FLPPI(record, PfaFopen, name, "r", 0);
//
// A wrapper takes the record, the method and the other parameters of the sequence, without the
// location handles (L), which it supplies itself; a sequence that begins with P takes a location
// type in place of the record. It calls the implementation of the record's location type and
// returns its result, or PFA_E_NO_METHOD (-1) if the type does not offer the method or the record
// is not valid. An implementation's own -1 looks the same.
//
// With the name of a method, a call through the wrapper of another sequence, or with other
// parameters than the method declares in pfaloc_methods.def, does not compile. With an int, the
// sequence is checked at run time and reported through dbg_err_crash(); a pointer parameter then
// takes any address, and its type is not checked.
//
// FF, FLFL and FLFLPP take two valid records of one location type. Different types are reported and
// give PFA_E_NO_METHOD.
#pragma once

#include "coretools/ctpfa/pfaloc.h"
#include "coretools/ctpfa/pfaloc_wrapper.h"

#define PFA_CALL_SEQUENCE(letters, same_type)                                                      \
    inline constexpr plm_wrapper<PLM_CALL_##letters> pfaloc_call_##letters{};
#include "coretools/ctpfa/pfaloc_methods.def"
