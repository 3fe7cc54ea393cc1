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
#include "coretools/ctpfa/pfa_std_location.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfafs/pfafs_internal.h"
#include "coretools/ctpfafs/vek_is_dir.h"

#include <cstring>

namespace {

// A piece of the name being claimed. Hosts and devices are never empty when they are there.
struct piece {
    int start = 0;
    int length = 0;
};

struct location {
    piece host;
    piece device;
    int path = 0; // where the directory path begins
};

bool is_separator(char character) {
    return character == '/' || character == '\\';
}

bool is_letter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

// The host or device of a neutral name that begins at start: it ends at a '|' or '/', must not be
// empty, and holds fewer than 32 characters. A '|' behind it only ends it. False: no such piece.
bool take_neutral_piece(const char *name, int start, piece *out, int *path) {
    const int length = static_cast<int>(std::strcspn(name + start, "|/"));
    const char end = name[start + length];
    if (length == 0 || length >= PFA_HOST_SIZE || end == '\0') {
        return false;
    }
    *out = {start, length};
    *path = start + length + (end == '|' ? 1 : 0);
    return true;
}

// Exactly three slashes and something more.
bool begins_neutral_device(const char *text) {
    return std::strncmp(text, "///", 3) == 0 && text[3] != '/' && text[3] != '\0';
}

// A name that begins with three slashes or more. Exactly five begin a host and exactly three a
// device; any other number is the one slash of an absolute path.
bool split_neutral(const char *name, location *out) {
    const int slashes = static_cast<int>(std::strspn(name, "/"));
    if (slashes == 5) {
        if (!take_neutral_piece(name, 5, &out->host, &out->path)) {
            return false;
        }
        const int after_host = out->host.start + out->host.length;
        return !begins_neutral_device(name + after_host) ||
               take_neutral_piece(name, after_host + 3, &out->device, &out->path);
    }
    if (slashes == 3) {
        return name[3] == '\0' || take_neutral_piece(name, 3, &out->device, &out->path);
    }
    out->path = slashes - 1;
    return true;
}

// "$device/" where the path would begin.
bool split_dollar_device(const char *name, location *out) {
    const char *text = name + out->path;
    const char *slash = text[0] == '$' ? std::strchr(text, '/') : nullptr;
    const int length = slash != nullptr ? static_cast<int>(slash - text) - 1 : 0;
    if (length == 0) {
        return true;
    }
    if (length >= PFA_HOST_SIZE) {
        return false;
    }
    out->device = {out->path + 1, length};
    out->path = static_cast<int>(slash - name);
    return true;
}

// "\\host\c$\": the share through which a drive is administered. Two backslashes with no other
// behind them begin an ordinary path.
bool split_drive_share(const char *name, location *out) {
    const char *after_host = std::strchr(name + 2, '\\');
    if (after_host == nullptr) {
        return true;
    }
    const int length = static_cast<int>(after_host - name) - 2;
    if (length == 0 || length >= PFA_HOST_SIZE || !is_letter(after_host[1]) ||
        after_host[2] != '$' || after_host[3] != '\\') {
        return false;
    }
    out->host = {2, length};
    out->device = {length + 3, 1};
    out->path = length + 5;
    return true;
}

// colon is the first ':' of the name, or null. Behind a host stands another, or a '/'; any other
// colon is a character like any other.
bool split_host_form(const char *name, const char *colon, location *out) {
    if (colon == nullptr && name[0] == '\\' && name[1] == '\\') {
        return split_drive_share(name, out);
    }
    if (colon != nullptr) {
        const int length = static_cast<int>(colon - name);
        if (length > 0 && length < PFA_HOST_SIZE && (colon[1] == ':' || colon[1] == '/')) {
            out->host = {0, length};
            out->path = length + (colon[1] == ':' ? 2 : 1);
        }
    }
    return split_dollar_device(name, out);
}

// Copies the directory path at the start of text: up to its last separator, and with it a last
// piece of "." or "..", which name directories. A ".." behind other segments needs its separator to
// be a parent step. Answers where the rest of the text begins.
int take_path(const char *text, char (&path)[PFA_PATH_SIZE + 1]) {
    int length = static_cast<int>(std::strlen(text));
    while (length > 0 && !is_separator(text[length - 1])) {
        --length;
    }
    int rest = length;
    const char *step = "";
    if (std::strcmp(text + length, ".") == 0) {
        rest += 1;
        step = length == 0 ? "." : "";
    } else if (std::strcmp(text + length, "..") == 0) {
        rest += 2;
        step = length == 0 ? ".." : "../";
    }
    std::memcpy(path, text, static_cast<std::size_t>(length));
    std::memcpy(path + length, step, std::strlen(step) + 1);
    return rest;
}

// Stores the directory path that begins at start. With a rest offset it ends where the last piece
// of the name begins; without one the whole name is the path.
bool put_path(vek_file *record, const char *name, int start, std::int16_t *rest) {
    if (rest == nullptr) {
        return pfa_put_path(record, name + start) == PFA_E_NO_ERROR;
    }
    char path[PFA_PATH_SIZE + 1];
    const int path_end = take_path(name + start, path);
    if (pfa_put_path(record, path) != PFA_E_NO_ERROR) {
        return false;
    }
    *rest = static_cast<std::int16_t>(start + path_end);
    return true;
}

bool put_piece(vek_file *record, int index, const char *name, const piece &part) {
    return pfa_put_component_len(record, index, name + part.start, part.length) == PFA_E_NO_ERROR;
}

// 0, or 9 when the name is not one of this location. A name that is declined for its form leaves
// the record as it was.
int pfafs_claim_location(vek_file *record, const char *name, const char *colon,
                         std::int16_t *rest) {
    if (name == nullptr || std::strlen(name) >= PFA_PATH_SIZE) {
        return PFA_E_INVALID_INPUT;
    }
    location found;
    const bool split = std::strncmp(name, "///", 3) == 0 ? split_neutral(name, &found)
                                                         : split_host_form(name, colon, &found);
    if (!split || !put_piece(record, PFA_HOST, name, found.host) ||
        !put_piece(record, PFA_DEVICE, name, found.device) ||
        !put_path(record, name, found.path, rest)) {
        return PFA_E_INVALID_INPUT;
    }
    return PFA_E_NO_ERROR;
}

// A location string under construction. Text that does not fit makes it fail as a whole: a string
// cut short would name another place.
struct location_text {
    char *out;
    std::int16_t *length;
    int capacity;
    bool fits = true;

    void add(const char *text) {
        fits = fits && *length + static_cast<int>(std::strlen(text)) < capacity &&
               pfa_strcat(text, out, length) == 1;
    }

    void add(const vek_file *record, int component) {
        fits = fits &&
               pfa_append_component(record, component, out, length, capacity) == PFA_E_NO_ERROR;
    }
};

// Host, device and the path as it is displayed. A device beside a host is not written, and nothing
// tells a relative path on a host from a name with a colon in it.
int pfafs_full_loc_string(vek_file *record, char *out, std::int16_t *length, int capacity) {
    location_text text{out, length, capacity};
    if (text.out == nullptr || text.length == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    char path[PFA_PATH_SIZE];
    const int result = pfa_get_path(record, path);
    if (result != PFA_E_NO_ERROR) {
        return result;
    }
    if (pfa_has_component(record, PFA_HOST)) {
        text.add(record, PFA_HOST);
        text.add(":");
    } else if (pfa_has_component(record, PFA_DEVICE)) {
        text.add("$");
        text.add(record, PFA_DEVICE);
        text.add(path[0] == '\0' ? "/" : "");
    }
    text.add(path);
    return text.fits ? PFA_E_NO_ERROR : PFA_E_ERROR;
}

// Whether a host or device can be read back: in the neutral form it ends at the first of these.
bool is_neutral_piece(const vek_file *record, int index) {
    char text[PFA_PATH_SIZE];
    return pfa_get_component(record, index, text, PFA_PATH_SIZE) == PFA_E_NO_ERROR &&
           std::strpbrk(text, "|/") == nullptr;
}

// 4 when the host or device holds a character that ends it in this form. Behind them, a path that
// does not begin with '/' is set off by a '|'.
int pfafs_neut_loc_string(vek_file *record, char *out, std::int16_t *length, int capacity) {
    location_text text{out, length, capacity};
    if (text.out == nullptr || text.length == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    if (!is_neutral_piece(record, PFA_HOST) || !is_neutral_piece(record, PFA_DEVICE)) {
        return PFA_E_INVALID_NAME;
    }
    char path[PFA_PATH_SIZE];
    const int result = pfa_get_path(record, path);
    if (result != PFA_E_NO_ERROR) {
        return result;
    }
    const bool has_host = pfa_has_component(record, PFA_HOST) != 0;
    const bool has_device = pfa_has_component(record, PFA_DEVICE) != 0;
    if (has_host) {
        text.add("/////");
        text.add(record, PFA_HOST);
    }
    if (has_device) {
        text.add("///");
        text.add(record, PFA_DEVICE);
    }
    if ((has_host || has_device) && path[0] != '/') {
        text.add("|");
    }
    text.add(path);
    return text.fits ? PFA_E_NO_ERROR : PFA_E_ERROR;
}

// PFA_E_EXIST when the name is a directory, as it is written or in the case in which names of its
// type are stored, else 0. A plain lower-case name is asked for once.
int pfafs_is_folder(vek_file *record) {
    char written[PFA_PATH_SIZE];
    if (pfa_get_file_name_mixed_case(record, PFA_OS_NAME, written, 0) != PFA_E_NO_ERROR) {
        return 0;
    }
    if (vek_is_dir(written)) {
        return PFA_E_EXIST;
    }
    char stored[PFA_PATH_SIZE];
    return pfa_no_mixed_case(record) &&
                   pfa_get_file_name_mixed_case(record, PFA_OS_NAME, stored, 1) == PFA_E_NO_ERROR &&
                   std::strcmp(written, stored) != 0 && vek_is_dir(stored)
               ? PFA_E_EXIST
               : 0;
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
