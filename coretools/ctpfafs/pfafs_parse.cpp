// Names of the standard filesystem: the location part of a name into a record, and back as text.
//
//   host form                          neutral form
//   host:/path/     host and path      /////host/path/
//   host::path/     the same, the      /////host|path/
//                   path relative
//   $device/path/   device and path    ///device/path/
//   \\host\c$\path\ host, drive letter as the device, and path
//
// The host form is the one the user writes; written back, a relative path on a host has one colon
// and a device no slash that is not the path's. The neutral form can hold every part beside every
// other. '^' in a stored path is its parent step, ".." in both forms.
#include "coretools/ctpfa/path_text.h"
#include "coretools/ctpfa/pfa_std_location.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfa/pfarecord_internal.h"
#include "coretools/ctpfafs/pfafs_internal.h"
#include "coretools/ctpfafs/vek_is_dir.h"
#include "coretools/ctstrutil/ascii.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

// Where a name says that its file is. Host and device are parts of the name, empty if absent.
struct location {
    std::string_view host;
    std::string_view device;
    std::size_t path = 0; // where the directory path begins
};

// Takes the host or device that begins at `start` of a neutral name: 1 to PFA_HOST_SIZE - 1
// characters that a '|' or '/' ends. Stores where the rest begins, behind a '|'. False if there is
// none.
bool take_neutral_part(std::string_view name, std::size_t start, std::string_view *part,
                       std::size_t *rest) {
    const std::size_t end = name.find_first_of("|/", start);
    if (end == name.npos || end == start || end - start >= PFA_HOST_SIZE) {
        return false;
    }
    *part = name.substr(start, end - start);
    *rest = end + (name[end] == '|' ? 1 : 0);
    return true;
}

// True for exactly three slashes and something more.
bool begins_neutral_device(std::string_view text) {
    return text.size() > 3 && text.starts_with("///") && text[3] != '/';
}

// A name that begins with three slashes or more. Exactly five begin a host and exactly three a
// device; any other number is the one slash of an absolute path.
bool split_neutral(std::string_view name, location *out) {
    const std::size_t slashes = std::min(name.find_first_not_of('/'), name.size());
    if (slashes == 5) {
        if (!take_neutral_part(name, slashes, &out->host, &out->path)) {
            return false;
        }
        const std::size_t after_host = slashes + out->host.size();
        return !begins_neutral_device(name.substr(after_host)) ||
               take_neutral_part(name, after_host + 3, &out->device, &out->path);
    }
    if (slashes == 3) {
        return name.size() == slashes || take_neutral_part(name, slashes, &out->device, &out->path);
    }
    out->path = slashes - 1;
    return true;
}

// "$device/" where the path would begin.
bool split_dollar_device(std::string_view name, location *out) {
    const std::string_view text = name.substr(out->path);
    const std::size_t slash = text.find('/');
    if (!text.starts_with('$') || slash == text.npos || slash == 1) {
        return true;
    }
    out->device = text.substr(1, slash - 1);
    out->path += slash;
    return out->device.size() < PFA_HOST_SIZE;
}

// "\\host\c$\": the share through which a drive is administered. Two backslashes with no other
// behind them begin an ordinary path.
bool split_drive_share(std::string_view name, location *out) {
    const std::size_t after_host = name.find('\\', 2);
    if (after_host == name.npos) {
        return true;
    }
    const std::string_view drive = name.substr(after_host + 1, 3);
    out->host = name.substr(2, after_host - 2);
    out->device = drive.substr(0, 1);
    out->path = after_host + 3;
    return !out->host.empty() && out->host.size() < PFA_HOST_SIZE && drive.size() == 3 &&
           is_letter(drive[0]) && drive.ends_with("$\\");
}

// `colon` is the index of the first ':' of the name, npos for none. It ends a host if another one
// or a '/' follows; any other colon is a character like any other.
bool split_host_form(std::string_view name, std::size_t colon, location *out) {
    if (colon == name.npos && name.starts_with("\\\\")) {
        return split_drive_share(name, out);
    }
    if (colon != name.npos && colon > 0 && colon < PFA_HOST_SIZE) {
        const std::string_view behind = name.substr(colon + 1);
        if (behind.starts_with(':') || behind.starts_with('/')) {
            out->host = name.substr(0, colon);
            out->path = colon + (behind[0] == ':' ? 2 : 1);
        }
    }
    return split_dollar_device(name, out);
}

// Takes the directory path at the start of a name without its location: up to its last separator,
// and with it a last piece of "." or "..", which name directories. Returns where the rest begins.
std::size_t take_path(std::string_view name, path_text *path) {
    const std::size_t size = directory_part_size(name);
    const std::string_view rest = name.substr(size);
    const bool is_directory = rest == "." || rest == "..";
    // What fits in a name fits in a path_text.
    (void)path->append(name.substr(0, size));
    if (is_directory && (size == 0 || rest == "..")) {
        (void)path->append(rest);
        (void)(size == 0 || path->append('/')); // behind other elements a step needs its separator
    }
    return is_directory ? name.size() : size;
}

// Stores the directory path that begins at `start`, and in *rest where it ends; without `rest` all
// of the name is path.
bool put_path(vek_file *record, std::string_view name, std::size_t start, std::int16_t *rest) {
    if (rest == nullptr) {
        return pfa_put_path(record, name.data() + start) == PFA_E_NO_ERROR;
    }
    path_text path;
    const std::size_t path_end = take_path(name.substr(start), &path);
    if (pfa_put_path(record, path.c_str()) != PFA_E_NO_ERROR) {
        return false;
    }
    *rest = static_cast<std::int16_t>(start + path_end);
    return true;
}

// A name that is declined for its form leaves the record as it was.
int pfafs_claim_location(vek_file *record, const char *text, const char *colon,
                         std::int16_t *rest) {
    if (text == nullptr || std::strlen(text) >= PFA_PATH_SIZE) {
        return PFA_E_INVALID_INPUT;
    }
    const std::string_view name(text);
    const std::size_t colon_at =
        colon == nullptr ? name.npos : static_cast<std::size_t>(colon - text);
    location found;
    const bool split = name.starts_with("///") ? split_neutral(name, &found)
                                               : split_host_form(name, colon_at, &found);
    if (!split || pfa_put_text(record, PFA_HOST, found.host) != PFA_E_NO_ERROR ||
        pfa_put_text(record, PFA_DEVICE, found.device) != PFA_E_NO_ERROR ||
        !put_path(record, name, found.path, rest)) {
        return PFA_E_INVALID_INPUT;
    }
    return PFA_E_NO_ERROR;
}

// A location text under construction.
using location_text = bounded_text<PFA_PATH_SIZE>;

// Appends a location text to out[*length]. One that does not fit is not written at all: a text cut
// short would name another place.
pfa_status append_whole(const location_text &text, char *out, std::int16_t *length, int capacity) {
    return pfa_append_text(text.view(), out, length, capacity) ? PFA_E_NO_ERROR : PFA_E_ERROR;
}

// Host, device and the path as it is displayed. A device beside a host is not written, and nothing
// tells a relative path on a host from a name with a colon in it.
int pfafs_full_loc_string(vek_file *record, char *out, std::int16_t *length, int capacity) {
    if (out == nullptr || length == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    char path[PFA_PATH_SIZE];
    const pfa_status result = pfa_get_path(record, path);
    if (result != PFA_E_NO_ERROR) {
        return result;
    }
    const std::string_view host = pfa_component_text(record, PFA_HOST);
    const std::string_view device = pfa_component_text(record, PFA_DEVICE);
    location_text text;
    bool fits = true;
    if (!host.empty()) {
        fits = text.append(host) && text.append(':');
    } else if (!device.empty()) {
        fits = text.append('$') && text.append(device) && (path[0] != '\0' || text.append('/'));
    }
    return fits && text.append(path) ? append_whole(text, out, length, capacity) : PFA_E_ERROR;
}

// The same in a form in which every part can be read back. Fails with PFA_E_INVALID_NAME if host or
// device hold a character that ends them there. Behind them a '|' sets off a path that does not
// begin with '/'.
int pfafs_neut_loc_string(vek_file *record, char *out, std::int16_t *length, int capacity) {
    if (out == nullptr || length == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    const std::string_view host = pfa_component_text(record, PFA_HOST);
    const std::string_view device = pfa_component_text(record, PFA_DEVICE);
    if (host.find_first_of("|/") != host.npos || device.find_first_of("|/") != device.npos) {
        return PFA_E_INVALID_NAME;
    }
    char path[PFA_PATH_SIZE];
    const pfa_status result = pfa_get_path(record, path);
    if (result != PFA_E_NO_ERROR) {
        return result;
    }
    location_text text;
    const bool fits = (host.empty() || (text.append("/////") && text.append(host))) &&
                      (device.empty() || (text.append("///") && text.append(device))) &&
                      (text.empty() || path[0] == '/' || text.append('|')) && text.append(path);
    return fits ? append_whole(text, out, length, capacity) : PFA_E_ERROR;
}

// PFA_E_EXIST when the name is a directory, as it is written or in the case in which names of its
// type are stored, else PFA_E_NO_ERROR. A plain lower-case name is asked for once.
int pfafs_is_folder(vek_file *record) {
    char written[PFA_PATH_SIZE];
    if (pfa_get_file_name_mixed_case(record, PFA_OS_NAME, written, 0) != PFA_E_NO_ERROR) {
        return PFA_E_NO_ERROR;
    }
    if (vek_is_dir(written)) {
        return PFA_E_EXIST;
    }
    char stored[PFA_PATH_SIZE];
    return pfa_no_mixed_case(record) &&
                   pfa_get_file_name_mixed_case(record, PFA_OS_NAME, stored, 1) == PFA_E_NO_ERROR &&
                   std::strcmp(written, stored) != 0 && vek_is_dir(stored)
               ? PFA_E_EXIST
               : PFA_E_NO_ERROR;
}

int pfafs_device_idx(vek_file *) {
    return PFA_DEVICE;
}

int pfafs_host_idx(vek_file *) {
    return PFA_HOST;
}

int pfafs_path_idx(vek_file *) {
    return PFA_PATH;
}

} // namespace

int pfafs_loc_is_NT_drive_relative(const vek_file *) {
    return 0;
}

void pfafs_register_parse_functions() {
    pfa_loc_method_register(PfaStdFilesystem, PfaDeviceIdx, pfafs_device_idx);
    pfa_loc_method_register(PfaStdFilesystem, PfaHostIdx, pfafs_host_idx);
    pfa_loc_method_register(PfaStdFilesystem, PfaPathIdx, pfafs_path_idx);
    pfa_loc_method_register(PfaStdFilesystem, PfaClaimLocation, pfafs_claim_location);
    pfa_loc_method_register(PfaStdFilesystem, PfaGetLocationString, pfafs_full_loc_string);
    pfa_loc_method_register(PfaStdFilesystem, PfaGetNeutralLocation, pfafs_neut_loc_string);
    pfa_loc_method_register(PfaStdFilesystem, PfaIsFolder, pfafs_is_folder);
}
