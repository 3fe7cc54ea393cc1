// Reading a path record.
#include "coretools/ctpfa/pfaget.h"

#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctmisc/run_mode.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfaloc_call.h"

#include <cstring>
#include <string_view>

namespace {

// A path may grow while it is rebuilt: each "^/" of two characters is written as "../".
constexpr int DISPLAY_SIZE = PFA_PATH_SIZE * 2;

constexpr std::string_view PARENT_MARKER = "^";
constexpr std::string_view PARENT_STEP = "../";

// The length of the text without its last element, or -1 when there is none that a parent step
// could take back: nothing, the root, or a parent step itself.
int without_last_element(std::string_view text) {
    if (text.empty() || text == "/" || text == PARENT_STEP || text.ends_with("/../")) {
        return -1;
    }
    text.remove_suffix(1);
    const std::size_t slash = text.rfind('/');
    return slash == std::string_view::npos ? 0 : static_cast<int>(slash) + 1;
}

// Rebuilds path, which ends in '/', element by element. Answers the length; nothing is terminated.
int rebuild(std::string_view path, char (&out)[DISPLAY_SIZE]) {
    int length = 0;
    if (path.starts_with('/')) {
        out[length++] = '/';
    }
    while (!path.empty()) {
        const std::size_t slash = path.find('/');
        std::string_view element = path.substr(0, slash + 1);
        path.remove_prefix(slash + 1);
        if (slash == 0) {
            continue;
        }
        if (element.substr(0, slash) == PARENT_MARKER) {
            const int shorter = without_last_element({out, static_cast<std::size_t>(length)});
            if (shorter >= 0) {
                length = shorter;
                continue;
            }
            element = PARENT_STEP;
        }
        std::memcpy(out + length, element.data(), element.size());
        length += static_cast<int>(element.size());
    }
    return length;
}

pfa_status get_location_text(vek_file *record, int method, char *out, int *location_type) {
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
        pfa_status(pfaloc_call_FPPS(record, method, out, &length, PFA_PATH_SIZE));
    if (result != PFA_E_NO_ERROR) {
        out[0] = '\0';
    }
    return result;
}

} // namespace

pfa_status pfa_get_host(vek_file *record, char *out) {
    if (out == nullptr) {
        return PFA_E_NOT_VALID;
    }
    out[0] = '\0';
    if (pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    const int index = pfaloc_call_F(record, PfaHostIdx);
    if (index < PFA_HOST || index > PFA_PATH) {
        return PFA_E_NO_ERROR;
    }
    return pfa_get_component(record, index, out, PFA_HOST_SIZE);
}

pfa_status pfa_get_path(vek_file *record, char *out) {
    if (out == nullptr) {
        return PFA_E_NOT_VALID;
    }
    out[0] = '\0';
    if (pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    const int index = pfaloc_call_F(record, PfaPathIdx);
    if (index < PFA_HOST || index > PFA_PATH) {
        return PFA_E_NO_ERROR;
    }
    const pfa_bounds bounds = record->bounds[index];
    std::string_view path(record->text + bounds.start,
                          static_cast<std::size_t>(bounds.end - bounds.start));
    path = path.substr(0, path.rfind('/') + 1);

    char rebuilt[DISPLAY_SIZE];
    if (path.find('^') != std::string_view::npos || path.find("//") != std::string_view::npos) {
        path = {rebuilt, static_cast<std::size_t>(rebuild(path, rebuilt))};
    }
    if (path.size() >= PFA_PATH_SIZE) {
        return PFA_E_ERROR;
    }
    std::memcpy(out, path.data(), path.size());
    out[path.size()] = '\0';
    return PFA_E_NO_ERROR;
}

pfa_status pfa_get_name(vek_file *record, char *out) {
    if (out == nullptr) {
        return PFA_E_NOT_VALID;
    }
    out[0] = '\0';
    if (pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    if (record->type != OBJ_TYPE_DIRECTORY) {
        return pfa_get_component(record, PFA_NAME, out, PFA_PATH_SIZE);
    }
    for (int index = PFA_PATH; index >= PFA_HOST; --index) {
        const pfa_bounds bounds = record->bounds[index];
        int end = bounds.end;
        while (end > bounds.start && record->text[end - 1] == '/') {
            end--;
        }
        if (end == bounds.start) {
            continue;
        }
        std::int16_t start = 0;
        std::int16_t stop = 0;
        pfa_last_delimited_range(record->text, bounds.start, end, '/', &start, &stop);
        std::memcpy(out, record->text + start, static_cast<std::size_t>(stop - start));
        out[stop - start] = '\0';
        break;
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

pfa_status pfa_get_location(vek_file *record, char *out, int *location_type) {
    return get_location_text(record, PfaGetLocationString, out, location_type);
}

pfa_status pfa_get_neutral_location(vek_file *record, char *out, int *location_type) {
    return get_location_text(record, PfaGetNeutralLocation, out, location_type);
}
