// The vocabulary of the location types: their names, the methods they may offer and the calling
// sequence of each method. The names serve only in messages.
//
// A calling sequence spells the parameters of an implementation, one letter each:
//   F  a path record; the leading one selects the location type
//   L  the address of the location handle of the F before it, supplied by the dispatch
//   P  a pointer: a text, a buffer, an out-parameter, an option block
//   I  an int
//   S  a buffer capacity in bytes (an int)
#pragma once

#include <iterator>

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

struct loc_type_row {
    int type;
    const char *name;
};

inline constexpr loc_type_row locTypeNames[] = {
    {NoLocation, "NoLocation"},
    {PfaStdFilesystem, "PfaStdFilesystem"},
    {UniFilesystem, "UniFilesystem"},
    {PfaWorkspace, "PfaWorkspace"},
    {PfaUNC, "PfaUNC"},
    {PfaInSession, "PfaInSession"},
    {PfaKelmLink, "PfaKelmLink"},
    {PfaList, "PfaList"},
    {PfaStdio, "PfaStdio"},
    {PfaCommonspace, "PfaCommonspace"},
};

struct method_attr_row {
    int sequence;
    const char *name;
};

inline constexpr method_attr_row methodAttrTable[] = {
    {PLM_CALL_F, "PLM_CALL_F"},
    {PLM_CALL_FF, "PLM_CALL_FF"},
    {PLM_CALL_FFP, "PLM_CALL_FFP"},
    {PLM_CALL_FI, "PLM_CALL_FI"},
    {PLM_CALL_FII, "PLM_CALL_FII"},
    {PLM_CALL_FL, "PLM_CALL_FL"},
    {PLM_CALL_FLFL, "PLM_CALL_FLFL"},
    {PLM_CALL_FLFLPP, "PLM_CALL_FLFLPP"},
    {PLM_CALL_FLI, "PLM_CALL_FLI"},
    {PLM_CALL_FLP, "PLM_CALL_FLP"},
    {PLM_CALL_FLPI, "PLM_CALL_FLPI"},
    {PLM_CALL_FLPII, "PLM_CALL_FLPII"},
    {PLM_CALL_FLPIII, "PLM_CALL_FLPIII"},
    {PLM_CALL_FLPPI, "PLM_CALL_FLPPI"},
    {PLM_CALL_FLPPPI, "PLM_CALL_FLPPPI"},
    {PLM_CALL_FP, "PLM_CALL_FP"},
    {PLM_CALL_FPP, "PLM_CALL_FPP"},
    {PLM_CALL_FPPP, "PLM_CALL_FPPP"},
    {PLM_CALL_FPPS, "PLM_CALL_FPPS"},
    {PLM_CALL_PP, "PLM_CALL_PP"},
    {PLM_CALL_PPP, "PLM_CALL_PPP"},
    {PLM_CALL_PPPP, "PLM_CALL_PPPP"},
    {PLM_CALL_FPIPPPP, "PLM_CALL_FPIPPPP"},
    {PLM_CALL_FFIIIPP, "PLM_CALL_FFIIIPP"},
    {PLM_CALL_FPPPP, "PLM_CALL_FPPPP"},
    {PLM_CALL_P, "PLM_CALL_P"},
    {PLM_CALL_FLPP, "PLM_CALL_FLPP"},
};

struct loc_method_row {
    int method;
    const char *name;
    int sequence;
};

inline constexpr loc_method_row locMethodInfo[] = {
    {PfaDeviceIdx, "PfaDeviceIdx", PLM_CALL_F},
    {PfaHostIdx, "PfaHostIdx", PLM_CALL_F},
    {PfaPathIdx, "PfaPathIdx", PLM_CALL_F},
    {PfaClaimLocation, "PfaClaimLocation", PLM_CALL_FPPP},
    {PfaGetLocationString, "PfaGetLocationString", PLM_CALL_FPPS},
    {PfaGetNeutralLocation, "PfaGetNeutralLocation", PLM_CALL_FPPS},
    {PfaFgetc, "PfaFgetc", PLM_CALL_FL},
    {PfaUngetc, "PfaUngetc", PLM_CALL_FLI},
    {PfaDbgShowStream, "PfaDbgShowStream", PLM_CALL_FL},
    {PfaOpen, "PfaOpen", PLM_CALL_FLPIII},
    {PfaFopen, "PfaFopen", PLM_CALL_FLPPI},
    {PfaCloseFile, "PfaCloseFile", PLM_CALL_FL},
    {PfaSetbuf, "PfaSetbuf", PLM_CALL_FLP},
    {PfaSetvbuf, "PfaSetvbuf", PLM_CALL_FLPII},
    {PfaGetFilePosition, "PfaGetFilePosition", PLM_CALL_FLP},
    {PfaSetFilePosition, "PfaSetFilePosition", PLM_CALL_FLP},
    {PfaRewindFile, "PfaRewindFile", PLM_CALL_FL},
    {PfaUnwindFile, "PfaUnwindFile", PLM_CALL_FL},
    {PfaReadFile, "PfaReadFile", PLM_CALL_FLPPI},
    {PfaFseek, "PfaFseek", PLM_CALL_FLPIII},
    {PfaFgets, "PfaFgets", PLM_CALL_FLPPI},
    {PfaWriteFile, "PfaWriteFile", PLM_CALL_FLPII},
    {PfaFputs, "PfaFputs", PLM_CALL_FLP},
    {PfaCopyThruCookie, "PfaCopyThruCookie", PLM_CALL_FLFLPP},
    {PfaFlushFile, "PfaFlushFile", PLM_CALL_FL},
    {PfaDeleteFile, "PfaDeleteFile", PLM_CALL_F},
    {PfaTruncateFile, "PfaTruncateFile", PLM_CALL_FLP},
    {PfaMakeDir, "PfaMakeDir", PLM_CALL_F},
    {PfaRemoveDir, "PfaRemoveDir", PLM_CALL_F},
    {PfaMoveDir, "PfaMoveDir", PLM_CALL_FF},
    {PfaDirOpen, "PfaDirOpen", PLM_CALL_FLPP},
    {PfaDirClose, "PfaDirClose", PLM_CALL_FL},
    {PfaDirReadNext, "PfaDirReadNext", PLM_CALL_FLPPPI},
    {PfaDirCacheEligible, "PfaDirCacheEligible", PLM_CALL_FP},
    {PfaDirCacheInvalid, "PfaDirCacheInvalid", PLM_CALL_FLP},
    {PfaAccess, "PfaAccess", PLM_CALL_FII},
    {PfaGetFileTime, "PfaGetFileTime", PLM_CALL_FPPP},
    {PfaGetMode, "PfaGetMode", PLM_CALL_FP},
    {PfaGetFileSize, "PfaGetFileSize", PLM_CALL_FP},
    {PfaGetOwners, "PfaGetOwners", PLM_CALL_FPPP},
    {PfaChmod, "PfaChmod", PLM_CALL_FI},
    {PfaChown, "PfaChown", PLM_CALL_FPP},
    {PfaGetAvailBlocks, "PfaGetAvailBlocks", PLM_CALL_FPP},
    {PfaMakeHidden, "PfaMakeHidden", PLM_CALL_F},
    {PfaRenameFile, "PfaRenameFile", PLM_CALL_FPP},
    {PfaTopLevelFolders, "PfaTopLevelFolders", PLM_CALL_PP},
    {PfaTopFolderInfo, "PfaTopFolderInfo", PLM_CALL_FPPP},
    {PfaTopParentName, "PfaTopParentName", PLM_CALL_FP},
    {PfaMakeParent, "PfaMakeParent", PLM_CALL_FF},
    {PfaIsFolder, "PfaIsFolder", PLM_CALL_F},
    {PfaGetBrowserConfigVals, "PfaGetBrowserConfigVals", PLM_CALL_PPP},
    {PfaGetBrowserShortcuts, "PfaGetBrowserShortcuts", PLM_CALL_PPPP},
    {PfaDirHasDetailConfigs, "PfaDirHasDetailConfigs", PLM_CALL_FPP},
    {PfaDirGetDetailConfigs, "PfaDirGetDetailConfigs", PLM_CALL_FPPPP},
    {PfaDirSetDetailConfig, "PfaDirSetDetailConfig", PLM_CALL_FPP},
    {PfaDirFreeDetailConfigData, "PfaDirFreeDetailConfigData", PLM_CALL_P},
    {PfaDirAllowedDispModes, "PfaDirAllowedDispModes", PLM_CALL_FPP},
    {PfaDirNumDetailColumns, "PfaDirNumDetailColumns", PLM_CALL_FP},
    {PfaDirGetColumnInfo, "PfaDirGetColumnInfo", PLM_CALL_FPIPPPP},
    {PfaDirGetEntryInfo, "PfaDirGetEntryInfo", PLM_CALL_FFIIIPP},
    {PfaDirRlsEntryInfo, "PfaDirRlsEntryInfo", PLM_CALL_FP},
    {PfaAltNameInDir, "PfaAltNameInDir", PLM_CALL_FFP},
    {PfaDirCanOpenSubset, "PfaDirCanOpenSubset", PLM_CALL_F},
    {PfaQuickSubclassCheck, "PfaQuickSubclassCheck", PLM_CALL_FP},
    {PfaCaseSensitiveLoc, "PfaCaseSensitiveLoc", PLM_CALL_F},
    {PfaIsVirtualFolder, "PfaIsVirtualFolder", PLM_CALL_F},
    {PfaLibrarySearch, "PfaLibrarySearch", PLM_CALL_FPP},
};

// Each table is indexed by the first field of its rows.
template <class Row, int COUNT>
constexpr bool pfaloc_table_in_order(const Row (&table)[COUNT], int Row::*index) {
    for (int i = 0; i < COUNT; ++i) {
        if (table[i].*index != i) {
            return false;
        }
    }
    return true;
}

static_assert(std::size(locTypeNames) == PFA_LOCATION_TYPES);
static_assert(std::size(methodAttrTable) == PFA_CALL_SEQUENCES);
static_assert(std::size(locMethodInfo) == PFA_METHODS);
static_assert(pfaloc_table_in_order(locTypeNames, &loc_type_row::type));
static_assert(pfaloc_table_in_order(methodAttrTable, &method_attr_row::sequence));
static_assert(pfaloc_table_in_order(locMethodInfo, &loc_method_row::method));
