// Absolute and relative names: joins a location to a directory.
#include "coretools/ctpfa/pfajoin.h"

#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/path_text.h"
#include "coretools/ctpfa/pfa_std_location.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfa/pfarecord_internal.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

// Returns where the elements of the path begin in the neutral location of `directory`. No parent
// step may climb before it: the host and the device stand there, or whatever the location type
// writes in front of a path.
std::size_t neutral_path_start(const vek_file *directory, std::string_view neutral) {
    const int path = pfa_role_index(directory, PfaPathIdx);
    if (path == -1) {
        return std::min(neutral.find('/'), neutral.size());
    }
    vek_file without_path = *directory;
    (void)pfa_put_text(&without_path, path, {});
    char text[PFA_PATH_SIZE];
    if (pfa_get_neutral_location(&without_path, text, nullptr) != PFA_E_NO_ERROR) {
        return 0;
    }
    // A '|' may set off a relative path, and stands for an absent one.
    std::size_t start = std::strlen(text);
    if (start > 0 && text[start - 1] == '|' && neutral.substr(0, start) != text) {
        --start;
    }
    return start;
}

// A directory of the standard filesystem without a path: its host and device, and text as the path.
pfa_status append_to_pathless(const vek_file *directory, vek_file *out, const char *text) {
    pfa_status result = pfa_copy_component(directory, out, PFA_HOST);
    if (result == PFA_E_NO_ERROR) {
        result = pfa_copy_component(directory, out, PFA_DEVICE);
    }
    if (result == PFA_E_NO_ERROR) {
        out->location_type = directory->location_type;
        result = pfa_put_path(out, text);
    }
    return result;
}

} // namespace

int pfa_path_is_absolute(const vek_file *record) {
    if (pfa_is_valid(record) == 0 || record->location_type == NoLocation) {
        return 0;
    }
    if (pfa_has_component(record, pfa_role_index(record, PfaHostIdx)) != 0) {
        return 1;
    }
    if (pfa_has_component(record, pfa_role_index(record, PfaDeviceIdx)) != 0) {
        return pfafs_loc_is_NT_drive_relative(record) == 0 ? 1 : 0;
    }
    const int path = pfa_role_index(record, PfaPathIdx);
    return path == -1 || pfa_component_text(record, path).starts_with('/') ? 1 : 0;
}

pfa_status pfa_concat_locations(const vek_file *base, const vek_file *relative, vek_file *out) {
    if (pfa_is_valid(base) == 0 || pfa_is_valid(relative) == 0 || pfa_is_valid(out) == 0) {
        return PFA_E_NOT_VALID;
    }
    const bool empty_base = base->bounds[PFA_RESERVED].end == 0;
    if (!empty_base && base->type != OBJ_TYPE_DIRECTORY) {
        return PFA_E_NOT_VALID;
    }
    vek_file base_copy;
    if (base == out) {
        base_copy = *base;
        base = &base_copy;
    }
    return pfa_all_or_nothing(out, [&] {
        if (out != relative) {
            (void)pfa_copy_vek_file(relative, out);
        }
        return empty_base || pfa_path_is_absolute(out) != 0 ? PFA_E_NO_ERROR
                                                            : concat_pfa_paths(base, out);
    });
}

pfa_status concat_pfa_paths(const vek_file *base, vek_file *record) {
    if (pfa_is_valid(base) == 0 || pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    if (pfa_has_location(base, nullptr) == 0) {
        return PFA_E_INVALID_NAME;
    }
    if (record != base && pfa_path_is_absolute(record) != 0) {
        return PFA_E_ROOT_DIR;
    }
    char relative[PFA_PATH_SIZE];
    const pfa_status result = pfa_get_neutral_location(record, relative, nullptr);
    return result == PFA_E_NO_ERROR ? pfa_location_append(base, record, relative) : result;
}

pfa_status pfa_location_append(const vek_file *directory, vek_file *out, const char *text) {
    if (pfa_is_valid(directory) == 0 || pfa_is_valid(out) == 0) {
        return PFA_E_NOT_VALID;
    }
    if (directory->type != OBJ_TYPE_DIRECTORY || text == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    // The location of another type need not be in components that could be copied.
    if (directory->location_type == PfaStdFilesystem &&
        pfa_has_component(directory, PFA_PATH) == 0) {
        return pfa_all_or_nothing(out, [&] { return append_to_pathless(directory, out, text); });
    }
    path_text joined;
    const pfa_status result = pfa_get_neutral_location(directory, joined.data(), nullptr);
    if (result != PFA_E_NO_ERROR) {
        return result;
    }
    joined.set_size(std::strlen(joined.c_str()));
    if (joined.empty()) {
        return pfa_put_location(out, text, directory->location_type);
    }
    if (joined.view().ends_with('|')) {
        joined.shrink(joined.size() - 1);
    }
    if (!append_closing_slash(&joined) || !joined.append(text)) {
        return PFA_E_INVALID_NAME;
    }
    const bool climbs = std::string_view(text).starts_with(WRITTEN_STEP);
    if (climbs && !take_back_steps(&joined, neutral_path_start(directory, joined.view()))) {
        return PFA_E_ROOT_DIR;
    }
    if (joined.size() >= PFA_PATH_SIZE) {
        return PFA_E_INVALID_NAME;
    }
    return pfa_put_location(out, joined.c_str(), directory->location_type);
}
