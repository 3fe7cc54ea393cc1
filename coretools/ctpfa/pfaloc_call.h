// The dispatch wrappers, one a calling sequence: each calls the method's implementation of the
// record's location type and returns its result, or -1 when the type does not offer the method or
// the record is not valid. The letters after pfaloc_call_ are those of the sequence; the location
// handles (L) are supplied here, not by the caller. A -1 from an implementation looks the same.
#pragma once

#include "coretools/ctpfa/pfaloc.h"

// The first record selects the implementation. FF, FLFL and FLFLPP take two valid records of one
// location type; different types are reported and answered with -1.
int pfaloc_call_F(vek_file *record, int method);
int pfaloc_call_FF(vek_file *record, int method, vek_file *second);
int pfaloc_call_FFP(vek_file *record, int method, vek_file *second, plm_ptr a);
int pfaloc_call_FI(vek_file *record, int method, int a);
int pfaloc_call_FII(vek_file *record, int method, int a, int b);
int pfaloc_call_FL(vek_file *record, int method);
int pfaloc_call_FLFL(vek_file *record, int method, vek_file *second);
int pfaloc_call_FLFLPP(vek_file *record, int method, vek_file *second, plm_ptr a, plm_ptr b);
int pfaloc_call_FLI(vek_file *record, int method, int a);
int pfaloc_call_FLP(vek_file *record, int method, plm_ptr a);
int pfaloc_call_FLPI(vek_file *record, int method, plm_ptr a, int b);
int pfaloc_call_FLPII(vek_file *record, int method, plm_ptr a, int b, int c);
int pfaloc_call_FLPIII(vek_file *record, int method, plm_ptr a, int b, int c, int d);
int pfaloc_call_FLPPI(vek_file *record, int method, plm_ptr a, plm_ptr b, int c);
int pfaloc_call_FLPPPI(vek_file *record, int method, plm_ptr a, plm_ptr b, plm_ptr c, int d);
int pfaloc_call_FP(vek_file *record, int method, plm_ptr a);
int pfaloc_call_FPP(vek_file *record, int method, plm_ptr a, plm_ptr b);
int pfaloc_call_FPPP(vek_file *record, int method, plm_ptr a, plm_ptr b, plm_ptr c);
int pfaloc_call_FPPS(vek_file *record, int method, plm_ptr a, plm_ptr b, int capacity);
int pfaloc_call_FPIPPPP(vek_file *record, int method, plm_ptr a, int b, plm_ptr c, plm_ptr d,
                        plm_ptr e, plm_ptr f);
int pfaloc_call_FFIIIPP(vek_file *record, int method, vek_file *second, int a, int b, int c,
                        plm_ptr d, plm_ptr e);
int pfaloc_call_FPPPP(vek_file *record, int method, plm_ptr a, plm_ptr b, plm_ptr c, plm_ptr d);
int pfaloc_call_FLPP(vek_file *record, int method, plm_ptr a, plm_ptr b);

// These have no record and take a location type index.
int pfaloc_call_PP(int type, int method, plm_ptr a, plm_ptr b);
int pfaloc_call_PPP(int type, int method, plm_ptr a, plm_ptr b, plm_ptr c);
int pfaloc_call_PPPP(int type, int method, plm_ptr a, plm_ptr b, plm_ptr c, plm_ptr d);
int pfaloc_call_P(int type, int method, plm_ptr a);
