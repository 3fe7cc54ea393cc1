// Absolute and relative names: joining a location to a directory.
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfa_std_location.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfaloc.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfaput.h"

#include <cstring>
#include <string_view>

namespace {

constexpr int JOINED_SIZE = PFA_PATH_SIZE * 2;

constexpr std::string_view PARENT_STEP = "../";

// Where the elements of the path begin in a neutral location. No parent step may reach before it:
// there stand the host and the device, or whatever another location type writes there.
int neutral_path_start(const vek_file *record, const char *neutral) {
    if (record->location_type != PfaStdFilesystem) {
        return static_cast<int>(std::strcspn(neutral, "/"));
    }
    const int host = pfa_component_length(record, PFA_HOST);
    const int device = pfa_component_length(record, PFA_DEVICE);
    const int start = (host > 0 ? 5 + host : 0) + (device > 0 ? 3 + device : 0);
    // Without either, a '|' is the first character of a name.
    return start > 0 && neutral[start] == '|' ? start + 1 : start;
}

// Takes back the elements of text[start, length) that parent steps follow, in place. Answers false
// for a step above the root; a relative path may begin with steps.
bool resolve_parent_steps(char *text, int start, int *length) {
    const bool absolute = text[start] == '/';
    int root = start;
    while (root < *length && text[root] == '/') {
        root++;
    }
    const std::string_view path(text + root, static_cast<std::size_t>(*length - root));
    int end = root;
    for (std::size_t at = 0; at < path.size();) {
        const std::size_t slash = path.find('/', at);
        const std::size_t next = slash == std::string_view::npos ? path.size() : slash + 1;
        const std::string_view element = path.substr(at, next - at);
        at = next;
        if (element == PARENT_STEP || element == "..") {
            const std::string_view done(text + root, static_cast<std::size_t>(end - root));
            if (done.empty() && absolute) {
                return false;
            }
            if (!done.empty() && done != PARENT_STEP && !done.ends_with("/../")) {
                const std::size_t before = done.substr(0, done.size() - 1).rfind('/');
                end = root + (before == std::string_view::npos ? 0 : static_cast<int>(before) + 1);
                continue;
            }
        }
        std::memmove(text + end, element.data(), element.size());
        end += static_cast<int>(element.size());
    }
    *length = end;
    return true;
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

int pfa_path_is_absolute(vek_file *record) {
    if (pfa_is_valid(record) == 0 || record->location_type == NoLocation) {
        return 0;
    }
    int host = -1;
    int device = -1;
    int path = -1;
    (void)pfa_get_component_mapping(record, &host, &device, &path);
    if (pfa_has_component(record, host) != 0) {
        return 1;
    }
    if (pfa_has_component(record, device) != 0) {
        return pfafs_loc_is_NT_drive_relative(record) == 0 ? 1 : 0;
    }
    if (path == -1) {
        return 1;
    }
    char first = '\0';
    (void)pfa_component_first_char(record, path, &first);
    return first == '/' ? 1 : 0;
}

pfa_status pfa_concat_locations(vek_file *base, vek_file *relative, vek_file *out) {
    if (pfa_is_valid(base) == 0 || pfa_is_valid(relative) == 0 || pfa_is_valid(out) == 0) {
        return PFA_E_NOT_VALID;
    }
    const bool empty_base = base->bounds[PFA_RESERVED].end == 0;
    if (!empty_base && base->type != OBJ_TYPE_DIRECTORY) {
        return PFA_E_NOT_VALID;
    }
    vek_file before = *out;
    if (out != relative) {
        (void)pfa_copy_vek_file(relative, out);
    }
    if (empty_base || pfa_path_is_absolute(out) != 0) {
        return PFA_E_NO_ERROR;
    }
    const pfa_status result = concat_pfa_paths(base == out ? &before : base, out);
    if (result != PFA_E_NO_ERROR) {
        *out = before;
    }
    return result;
}

pfa_status concat_pfa_paths(vek_file *base, vek_file *record) {
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

pfa_status pfa_location_append(vek_file *directory, vek_file *out, const char *text) {
    if (pfa_is_valid(directory) == 0 || pfa_is_valid(out) == 0) {
        return PFA_E_NOT_VALID;
    }
    if (directory->type != OBJ_TYPE_DIRECTORY || text == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    if (directory->location_type == PfaStdFilesystem &&
        pfa_has_component(directory, PFA_PATH) == 0) {
        const vek_file before = *out;
        const pfa_status result = append_to_pathless(directory, out, text);
        if (result != PFA_E_NO_ERROR) {
            *out = before;
        }
        return result;
    }
    char joined[JOINED_SIZE];
    const pfa_status result = pfa_get_neutral_location(directory, joined, nullptr);
    if (result != PFA_E_NO_ERROR) {
        return result;
    }
    int length = static_cast<int>(std::strlen(joined));
    if (length == 0) {
        return pfa_put_location(out, text, directory->location_type);
    }
    const std::size_t text_length = strnlen(text, PFA_PATH_SIZE);
    if (text_length == PFA_PATH_SIZE) {
        return PFA_E_INVALID_NAME;
    }
    if (joined[length - 1] == '|') {
        length--;
    }
    if (length == 0 || joined[length - 1] != '/') {
        joined[length++] = '/';
    }
    const int start = neutral_path_start(directory, joined);
    std::memcpy(joined + length, text, text_length);
    length += static_cast<int>(text_length);
    if (std::strncmp(text, PARENT_STEP.data(), PARENT_STEP.size()) == 0 &&
        !resolve_parent_steps(joined, start, &length)) {
        return PFA_E_ROOT_DIR;
    }
    if (length >= PFA_PATH_SIZE) {
        return PFA_E_INVALID_NAME;
    }
    joined[length] = '\0';
    return pfa_put_location(out, joined, directory->location_type);
}
