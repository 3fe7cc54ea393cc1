// Location types: the registry of the methods that each of them offers, and the claim of a name.
//
// Every operation of the file access layer calls a method of the record's location type. To write a
// location type, implement the methods you want to offer with the parameters and contracts given in
// pfaloc_methods.def, choose one of the free numbers given there, and register:
//
//     int list_path_idx(vek_file *) { return PFA_PATH; }
//     int list_claim(vek_file *record, const char *name, const char *colon, std::int16_t *rest);
//
//     pfa_loc_register_setup(PfaList);
//     pfa_loc_method_register(PfaList, PfaPathIdx, list_path_idx);
//     pfa_loc_method_register(PfaList, PfaClaimLocation, list_claim);
//     pfa_loc_register_setup(NoLocation);
//
// The least that is of use: "PfaPathIdx", "PfaClaimLocation", "PfaGetLocationString" and
// "PfaGetNeutralLocation" for names; with "PfaFopen" and "PfaCloseFile" for files, "PfaReadFile" to
// read and "PfaWriteFile" to write them; with "PfaDirOpen", "PfaDirReadNext" and "PfaDirClose" for
// directories, and "PfaDirCacheInvalid", without which no cached listing is used again.
// examples/memory_location/memory_location.cpp is a complete example.
//
// The registry is process-wide and unlocked. The first allocation of a path record registers the
// types of the system; do it, and all registering, before a second thread uses the layer.
// Afterwards the registry is only read. Refusals are reported through dbg_err_crash().
#pragma once

#include "coretools/ctpfa/pfaloc_impl.h"
#include "coretools/ctpfa/pfaloc_tables.h"
#include "coretools/ctpfa/vek_file.h"

// Opens the registration of a type above NoLocation and below PFA_LOCATION_TYPES, each once in the
// life of the process, and closes one that is still open; NoLocation only closes. Creates the
// registry when there is none yet. True unless the type is refused or there is no memory.
int pfa_loc_register_setup(int type);

// Stores the implementation of a method in the open registration, in place of one stored before.
// The parameters of the implementation must be exactly those that the method declares, else this
// does not compile. `type` must be the one whose registration is open, else nothing is stored.
template <int METHOD>
void pfa_loc_method_register(int type, pfa_method_constant<METHOD> method,
                             pfa_method_function<METHOD> implementation);

// The same with the code of the calling sequence, which must be that of the method.
template <int METHOD>
void pfa_loc_method_register(int type, pfa_method_constant<METHOD> method, int sequence,
                             pfa_method_function<METHOD> implementation);

// The same for a method that is known only at run time. Refused at run time: an index out of range,
// a type whose registration is not open, a sequence that is not the method's, a function whose type
// is not the method's. An unknown sequence code is reported but the function is stored all the
// same; it is found if its type is the method's.
void pfa_loc_method_register(int type, int method, int sequence, const pfaloc_impl &implementation);

// Copies the donor's slot of a method (below PFA_METHODS) into the heir's open registration, an
// empty slot too. True if the slot holds an implementation; false if it is empty or the copy is
// refused.
int pfa_loc_type_inherit_method(int heir, int donor, int method);

constexpr int PFA_ALL_LOCATIONS = -1;

// Asks the registered location types, the highest number first, or `only_type` alone unless it is
// PFA_ALL_LOCATIONS, whether they claim `name` (may be null). The first that does becomes the
// record's type; its location components are filled, and *rest (may be null; set it to 0 before) is
// the index of the first character after the location. Returns PFA_E_NO_ERROR when claimed;
// PFA_E_NOT_FOUND if no type was asked; else the result of the last type asked. Unless claimed, the
// record's type is unchanged.
pfa_status pfa_parse_location(vek_file *record, const char *name, std::int16_t *rest,
                              int only_type);

// Looks a method up for a record or for a type. Returns 1 and stores the implementation in *found
// (may be null) if the type offers the method, else 0. Silent for an invalid record and for type 0;
// before the first registration nothing is found.
int pfaloc_get_func(const vek_file *record, int method, int sequence, pfaloc_impl *found);
int pfaloc_get_func_low(int type, int method, int sequence, pfaloc_impl *found);

// The implementation of a method whose type has the given tag, null if `type` does not offer it;
// for the call wrappers. The first form fails silently for an invalid record.
plm_any_function pfaloc_find(const vek_file *record, int method, const plm_function_tag *tag);
plm_any_function pfaloc_find(int type, int method, const plm_function_tag *tag);

// A record as a method takes it: F has one type, writable, also for methods that only read their
// record (the component indexes, the location texts, "PfaIsFolder", "PfaCaseSensitiveLoc"). For
// calling those, and only those, with a constant record.
inline vek_file *pfaloc_record(const vek_file *record) {
    return const_cast<vek_file *>(record);
}

template <int METHOD>
void pfa_loc_method_register(int type, pfa_method_constant<METHOD>, int sequence,
                             pfa_method_function<METHOD> implementation) {
    pfa_loc_method_register(type, METHOD, sequence, pfaloc_impl(implementation));
}
template <int METHOD>
void pfa_loc_method_register(int type, pfa_method_constant<METHOD>,
                             pfa_method_function<METHOD> implementation) {
    pfa_loc_method_register(type, METHOD, locMethodInfo[METHOD].sequence,
                            pfaloc_impl(implementation));
}
// A method that is known while compiling never falls back to the run-time check.
template <class Function, int METHOD>
concept plm_differs_from = !std::is_convertible_v<Function, pfa_method_function<METHOD>>;
template <int METHOD, plm_differs_from<METHOD> Function>
void pfa_loc_method_register(int type, pfa_method_constant<METHOD> method, int sequence,
                             Function implementation) = delete;
