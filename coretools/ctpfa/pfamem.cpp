// Allocation and release of path records.
#include "coretools/ctpfa/pfamem.h"

#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/pools.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmisc/run_mode.h"
#include "coretools/ctpfa/pfa_std_location.h"
#include "coretools/ctpfa/pfacurdir.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfaloc_internal.h"
#include "coretools/ctpfa/pfamem_internal.h"

#include <iterator>

namespace {

// The pool of records, -1 until the first record is drawn.
int PfaPoolID = -1;

struct status_row {
    pfa_status code;
    const char *name;
};

constexpr status_row STATUS_NAMES[] = {
    {PFA_E_NO_ERROR, "PFA_E_NO_ERROR"},
    {PFA_E_ERROR, "PFA_E_ERROR"},
    {PFA_E_NOT_FOUND, "PFA_E_NOT_FOUND"},
    {PFA_E_CANT_OPEN, "PFA_E_CANT_OPEN"},
    {PFA_E_INVALID_NAME, "PFA_E_INVALID_NAME"},
    {PFA_E_QUIT, "PFA_E_QUIT"},
    {PFA_E_NO_SPACE, "PFA_E_NO_SPACE"},
    {PFA_E_NO_ACCESS, "PFA_E_NO_ACCESS"},
    {PFA_E_NOT_ALLOWED, "PFA_E_NOT_ALLOWED"},
    {PFA_E_INVALID_INPUT, "PFA_E_INVALID_INPUT"},
    {PFA_E_INACTIVE, "PFA_E_INACTIVE"},
    {PFA_E_NOT_VALID, "PFA_E_NOT_VALID"},
    {PFA_E_EXIST, "PFA_E_EXIST"},
    {PFA_E_CANT_WRITE, "PFA_E_CANT_WRITE"},
    {PFA_E_ROOT_DIR, "PFA_E_ROOT_DIR"},
    {PFA_E_NET_TROUBLE, "PFA_E_NET_TROUBLE"},
    {PFA_E_OUT_OF_MEMORY, "PFA_E_OUT_OF_MEMORY"},
    {PFA_E_ABORTED, "PFA_E_ABORTED"},
    {PFA_E_TOO_MANY_OPEN, "PFA_E_TOO_MANY_OPEN"},
    {PFA_E_NOT_CACHABLE, "PFA_E_NOT_CACHABLE"},
};

constexpr bool status_names_in_order() {
    int code = 0;
    for (const status_row &row : STATUS_NAMES) {
        if (row.code != code++) {
            return false;
        }
    }
    return code == PFA_E_NOT_CACHABLE + 1;
}
static_assert(status_names_in_order());

// Registers the location types once in the process. The registry is the only memory that takes:
// it is made first, so that a registration never stops half-way.
bool register_location_types() {
    static bool first_call = true;
    if (first_call) {
        if (!pfaloc_create_registry()) {
            return false;
        }
        first_call = false;
        pfa_register_std_filesystem();
    }
    return true;
}

vek_file *new_record() {
    constexpr int SIZE = sizeof(vek_file);
    if (get_dbg_memory_config() != 0) {
        return static_cast<vek_file *>(getmem(SIZE));
    }
    if (PfaPoolID == -1) {
        PfaPoolID = create_mem_pool("VekFile", SIZE);
    }
    return PfaPoolID == -1 ? nullptr : static_cast<vek_file *>(getmem_pool(PfaPoolID));
}

} // namespace

pfa_status pfa_alloc_vek_file(vek_file **out) {
    constexpr const char *NAME = "pfa_alloc_vek_file";
    const bool registered = register_location_types();
    if (out == nullptr) {
        return PFA_E_NOT_VALID;
    }
    vek_file *record = registered ? new_record() : nullptr;
    if (record == nullptr) {
        return PFA_E_NO_SPACE;
    }
    if (is_run_mode(RUN_MODE_PFA_TRACE)) {
        dbg_print_info(NAME, "Created new pfa at: %x\n", pfa_trace_address(record));
        pfa_mem_debug(record, 1);
    }
    pfa_init_vek_file(record);
    *out = record;
    return PFA_E_NO_ERROR;
}

pfa_status pfa_free_vek_file(vek_file **record) {
    constexpr const char *NAME = "pfa_free_vek_file";
    const bool traced = is_run_mode(RUN_MODE_PFA_TRACE) != 0;
    if (record == nullptr) {
        return PFA_E_NOT_VALID;
    }
    if (*record == nullptr) {
        if (traced) {
            dbg_print_info(NAME, "Not freeing NULL pfa\n");
        }
        return PFA_E_NOT_VALID;
    }
    if (pfa_is_valid(*record) == 0) {
        dbg_print_info(NAME, "Not freeing invalid pfa at: %x\n", pfa_trace_address(*record));
        return PFA_E_NOT_VALID;
    }
    if (((*record)->flags & PFA_F_OPEN) != 0) {
        dbg_err_crash(NAME, "Attempting to free open file");
        return PFA_E_NOT_ALLOWED;
    }
    if (*record == get_Cur_Dir()) {
        dbg_err_crash(NAME, "Attempting to free Cur_Dir structure");
        return PFA_E_INVALID_INPUT;
    }
    if (traced) {
        dbg_print_info(NAME, "Freeing pfa at: %x\n", pfa_trace_address(*record));
        pfa_mem_debug(*record, 0);
    }
    (*record)->magic = 0;
    relmem(record);
    return PFA_E_NO_ERROR;
}

pfa_status pfa_recycle_vek_file(vek_file **record) {
    if (record == nullptr) {
        return PFA_E_NOT_VALID;
    }
    if (*record == nullptr) {
        return pfa_alloc_vek_file(record);
    }
    if (is_run_mode(RUN_MODE_PFA_TRACE)) {
        dbg_print_info("pfa_recycle_vek_file", "initializing pfa at %x",
                       pfa_trace_address(*record));
    }
    pfa_init_vek_file(*record);
    return PFA_E_NO_ERROR;
}

void pfa_init_vek_file(vek_file *record) {
    record->magic = PFA_MAGIC;
    record->text[0] = '\0';
    for (pfa_bounds &bounds : record->bounds) {
        bounds = {0, 0};
    }
    record->type = OBJ_TYPE_NOT_YET;
    record->version = 0;
    record->location_datum = -1;
    record->flags = 0;
    record->encode = 0;
    record->location_type = PFA_DEFAULT_LOCATION;
    record->location_handle = nullptr;
}

const char *pfa_error_to_string(int code) {
    const bool known = code >= 0 && code < static_cast<int>(std::size(STATUS_NAMES));
    return known ? STATUS_NAMES[code].name : "PFA_UNKNOWN_ERROR";
}
