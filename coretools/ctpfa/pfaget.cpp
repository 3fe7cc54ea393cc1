// Reading a path record.
#include "coretools/ctpfa/pfaget.h"

#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmisc/run_mode.h"
#include "coretools/ctpfa/path_text.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfarecord_internal.h"

#include <cstring>
#include <string_view>

namespace {

template <class Method>
pfa_status get_location_text(const vek_file *record, Method method, char *out, int *location_type) {
    const bool valid = pfa_is_valid(record) != 0;
    if (location_type != nullptr) {
        *location_type = valid ? record->location_type : NoLocation;
    }
    if (out != nullptr) {
        out[0] = '\0';
    }
    if (!valid) {
        return PFA_E_NOT_VALID;
    }
    if (out == nullptr) {
        return PFA_E_NO_ERROR;
    }
    std::int16_t length = 0;
    const pfa_status result =
        pfa_status(pfaloc_call_FPPS(pfaloc_record(record), method, out, &length, PFA_PATH_SIZE));
    if (result != PFA_E_NO_ERROR) {
        out[0] = '\0';
    }
    return result;
}

// Prepares the output of a getter.
pfa_status begin(const vek_file *record, char *out) {
    if (out != nullptr) {
        out[0] = '\0';
    }
    return out == nullptr || pfa_is_valid(record) == 0 ? PFA_E_NOT_VALID : PFA_E_NO_ERROR;
}

void copy_text(std::string_view text, char *out) {
    std::memcpy(out, text.data(), text.size());
    out[text.size()] = '\0';
}

} // namespace

pfa_status pfa_get_host(const vek_file *record, char *out) {
    const pfa_status result = begin(record, out);
    const int index = result == PFA_E_NO_ERROR ? pfa_role_index(record, PfaHostIdx) : -1;
    return index == -1 ? result : pfa_get_component(record, index, out, PFA_HOST_SIZE);
}

pfa_status pfa_get_path(const vek_file *record, char *out) {
    const pfa_status result = begin(record, out);
    const int index = result == PFA_E_NO_ERROR ? pfa_role_index(record, PfaPathIdx) : -1;
    if (index == -1) {
        return result;
    }
    std::string_view path = pfa_component_text(record, index);
    path = path.substr(0, path.rfind('/') + 1);
    path_text written;
    if (needs_rewriting(path)) {
        if (!path_to_written(path, &written)) {
            return PFA_E_ERROR;
        }
        path = written.view();
    }
    if (path.size() >= PFA_PATH_SIZE) {
        return PFA_E_ERROR;
    }
    copy_text(path, out);
    return PFA_E_NO_ERROR;
}

pfa_status pfa_get_name(const vek_file *record, char *out) {
    const pfa_status result = begin(record, out);
    if (result != PFA_E_NO_ERROR) {
        return result;
    }
    if (record->type != OBJ_TYPE_DIRECTORY) {
        return pfa_get_component(record, PFA_NAME, out, PFA_PATH_SIZE);
    }
    for (int index = PFA_PATH; index >= PFA_HOST && out[0] == '\0'; --index) {
        std::string_view text = pfa_component_text(record, index);
        text = text.substr(0, text.find_last_not_of('/') + 1);
        copy_text(last_element(text), out);
    }
    return PFA_E_NO_ERROR;
}

int pfa_get_obj_type(const vek_file *record) {
    if (is_run_mode(RUN_MODE_PFA_TRACE)) {
        dbg_print_info("pfa_get_obj_type", "Getting the object type");
    }
    return pfa_is_valid(record) != 0 ? record->type : OBJ_TYPE_DEFAULT;
}

int pfa_get_encode(const vek_file *record) {
    if (is_run_mode(RUN_MODE_PFA_TRACE)) {
        dbg_print_info("pfa_get_encode", "Getting the encode from a structure");
    }
    return pfa_is_valid(record) != 0 ? static_cast<int>(record->encode) : 0;
}

int pfa_get_location_datum(const vek_file *record) {
    return pfa_is_valid(record) != 0 ? record->location_datum : -1;
}

int pfa_file_is_open(const vek_file *record) {
    return pfa_is_valid(record) != 0 && (record->flags & PFA_F_OPEN) != 0 ? 1 : 0;
}

int pfa_is_dir(const vek_file *record) {
    return pfa_is_valid(record) != 0 && record->type == OBJ_TYPE_DIRECTORY ? 1 : 0;
}

pfa_status pfa_get_location(const vek_file *record, char *out, int *location_type) {
    return get_location_text(record, PfaGetLocationString, out, location_type);
}

pfa_status pfa_get_neutral_location(const vek_file *record, char *out, int *location_type) {
    return get_location_text(record, PfaGetNeutralLocation, out, location_type);
}
