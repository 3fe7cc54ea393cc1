// Location types: their vocabulary, and the registry of what each of them implements.
//
// Every operation of the file access layer calls a numbered method of the record's location type.
// A method has one calling sequence, a sequence has exactly one function type, and a registration
// carries that type with it, so that a slot can only be called with the parameters it takes.
#pragma once

#include "coretools/ctpfa/vek_file.h"

enum pfa_location_type : int {
    NoLocation = 0,
    PfaStdFilesystem = 1,
    UniFilesystem = 2,
    PfaWorkspace = 3,
    PfaUNC = 4,
    PfaInSession = 5,
    PfaKelmLink = 6,
    PfaList = 7,
    PfaStdio = 8,
    PfaCommonspace = 9,
};
constexpr int PFA_LOCATION_TYPES = 10;

enum pfa_method : int {
    PfaDeviceIdx,
    PfaHostIdx,
    PfaPathIdx,
    PfaClaimLocation,
    PfaGetLocationString,
    PfaGetNeutralLocation,
    PfaFgetc,
    PfaUngetc,
    PfaDbgShowStream,
    PfaOpen,
    PfaFopen,
    PfaCloseFile,
    PfaSetbuf,
    PfaSetvbuf,
    PfaGetFilePosition,
    PfaSetFilePosition,
    PfaRewindFile,
    PfaUnwindFile,
    PfaReadFile,
    PfaFseek,
    PfaFgets,
    PfaWriteFile,
    PfaFputs,
    PfaCopyThruCookie,
    PfaFlushFile,
    PfaDeleteFile,
    PfaTruncateFile,
    PfaMakeDir,
    PfaRemoveDir,
    PfaMoveDir,
    PfaDirOpen,
    PfaDirClose,
    PfaDirReadNext,
    PfaDirCacheEligible,
    PfaDirCacheInvalid,
    PfaAccess,
    PfaGetFileTime,
    PfaGetMode,
    PfaGetFileSize,
    PfaGetOwners,
    PfaChmod,
    PfaChown,
    PfaGetAvailBlocks,
    PfaMakeHidden,
    PfaRenameFile,
    PfaTopLevelFolders,
    PfaTopFolderInfo,
    PfaTopParentName,
    PfaMakeParent,
    PfaIsFolder,
    PfaGetBrowserConfigVals,
    PfaGetBrowserShortcuts,
    PfaDirHasDetailConfigs,
    PfaDirGetDetailConfigs,
    PfaDirSetDetailConfig,
    PfaDirFreeDetailConfigData,
    PfaDirAllowedDispModes,
    PfaDirNumDetailColumns,
    PfaDirGetColumnInfo,
    PfaDirGetEntryInfo,
    PfaDirRlsEntryInfo,
    PfaAltNameInDir,
    PfaDirCanOpenSubset,
    PfaQuickSubclassCheck,
    PfaCaseSensitiveLoc,
    PfaIsVirtualFolder,
    PfaLibrarySearch,
};
constexpr int PFA_METHODS = 67;
static_assert(PfaIsFolder == 49 && PfaLibrarySearch == PFA_METHODS - 1);

enum pfa_call_sequence : int {
    PLM_CALL_F,
    PLM_CALL_FF,
    PLM_CALL_FFP,
    PLM_CALL_FI,
    PLM_CALL_FII,
    PLM_CALL_FL,
    PLM_CALL_FLFL,
    PLM_CALL_FLFLPP,
    PLM_CALL_FLI,
    PLM_CALL_FLP,
    PLM_CALL_FLPI,
    PLM_CALL_FLPII,
    PLM_CALL_FLPIII,
    PLM_CALL_FLPPI,
    PLM_CALL_FLPPPI,
    PLM_CALL_FP,
    PLM_CALL_FPP,
    PLM_CALL_FPPP,
    PLM_CALL_FPPS,
    PLM_CALL_PP,
    PLM_CALL_PPP,
    PLM_CALL_PPPP,
    PLM_CALL_FPIPPPP,
    PLM_CALL_FFIIIPP,
    PLM_CALL_FPPPP,
    PLM_CALL_P,
    PLM_CALL_FLPP,
};
constexpr int PFA_CALL_SEQUENCES = 27;
static_assert(PLM_CALL_FLPP == PFA_CALL_SEQUENCES - 1);

// A pointer parameter (P) of a calling sequence: the address of any object, whose type the caller
// and the implementation of the method agree on.
class plm_ptr {
  public:
    plm_ptr(const void *address) : address_(address) {}

    template <class T>
    T *as() const {
        return static_cast<T *>(const_cast<void *>(address_));
    }

  private:
    const void *address_;
};

// The function type of each calling sequence. A location handle (L) is passed by address.
using plm_fn_F = int (*)(vek_file *);
using plm_fn_FF = int (*)(vek_file *, vek_file *);
using plm_fn_FFP = int (*)(vek_file *, vek_file *, plm_ptr);
using plm_fn_FI = int (*)(vek_file *, int);
using plm_fn_FII = int (*)(vek_file *, int, int);
using plm_fn_FL = int (*)(vek_file *, void **);
using plm_fn_FLFL = int (*)(vek_file *, void **, vek_file *, void **);
using plm_fn_FLFLPP = int (*)(vek_file *, void **, vek_file *, void **, plm_ptr, plm_ptr);
using plm_fn_FLI = int (*)(vek_file *, void **, int);
using plm_fn_FLP = int (*)(vek_file *, void **, plm_ptr);
using plm_fn_FLPI = int (*)(vek_file *, void **, plm_ptr, int);
using plm_fn_FLPII = int (*)(vek_file *, void **, plm_ptr, int, int);
using plm_fn_FLPIII = int (*)(vek_file *, void **, plm_ptr, int, int, int);
using plm_fn_FLPPI = int (*)(vek_file *, void **, plm_ptr, plm_ptr, int);
using plm_fn_FLPPPI = int (*)(vek_file *, void **, plm_ptr, plm_ptr, plm_ptr, int);
using plm_fn_FP = int (*)(vek_file *, plm_ptr);
using plm_fn_FPP = int (*)(vek_file *, plm_ptr, plm_ptr);
using plm_fn_FPPP = int (*)(vek_file *, plm_ptr, plm_ptr, plm_ptr);
// FPPS differs from a plain FPPI, which no method uses, only in the meaning of its last int.
using plm_fn_FPPS = int (*)(vek_file *, plm_ptr, plm_ptr, int);
using plm_fn_PP = int (*)(plm_ptr, plm_ptr);
using plm_fn_PPP = int (*)(plm_ptr, plm_ptr, plm_ptr);
using plm_fn_PPPP = int (*)(plm_ptr, plm_ptr, plm_ptr, plm_ptr);
using plm_fn_FPIPPPP = int (*)(vek_file *, plm_ptr, int, plm_ptr, plm_ptr, plm_ptr, plm_ptr);
using plm_fn_FFIIIPP = int (*)(vek_file *, vek_file *, int, int, int, plm_ptr, plm_ptr);
using plm_fn_FPPPP = int (*)(vek_file *, plm_ptr, plm_ptr, plm_ptr, plm_ptr);
using plm_fn_P = int (*)(plm_ptr);
using plm_fn_FLPP = int (*)(vek_file *, void **, plm_ptr, plm_ptr);

// An implementation of a method: a function pointer that remembers its calling sequence. All zero
// bytes mean none. (The owner of this file writes the class: a tagged union with one converting
// constructor a function type, and a checked read.)
class pfaloc_impl;

int pfa_loc_register_setup(int type);
void pfa_loc_method_register(int type, int method, int sequence, const pfaloc_impl &implementation);
int pfa_loc_type_inherit_method(int heir, int donor, int method);
int pfa_parse_location(vek_file *record, const char *name, std::int16_t *rest, int only_type);

int pfaloc_get_func(const vek_file *record, int method, int sequence, pfaloc_impl *found);
int pfaloc_get_func_low(int type, int method, int sequence, pfaloc_impl *found);
