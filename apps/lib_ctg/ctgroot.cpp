// The library root: the text that a build works on.
#include "apps/lib_ctg/ctgroot.h"

#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"

#include <cstring>
#include <string_view>

#include <sys/stat.h>

namespace {

bool is_plain(std::string_view root) {
    if (root[0] != '/' || root.find_first_of("$~") != root.npos) {
        return false;
    }
    while (!root.empty()) {
        root.remove_prefix(1);
        const std::string_view segment = root.substr(0, root.find('/'));
        if (segment.empty() || segment == "." || segment == "..") {
            return false;
        }
        root.remove_prefix(segment.size());
    }
    return true;
}

// Parses directory followed by '/': text that is all location, which the layer takes for a
// directory without asking the disk.
int parse_directory(vek_file *record, const char *directory) {
    char text[PFA_PATH_SIZE];
    const std::size_t length = std::strlen(directory);
    if (length + 1 >= sizeof text) {
        return PFA_E_INVALID_INPUT;
    }
    std::memcpy(text, directory, length);
    std::memcpy(text + length, "/", 2);
    return pfa_parse_to_vek_file(record, text);
}

// A '$' that no variable follows begins a directory's name here, and a device in the layer.
int parse_root(vek_file *record, const char *root) {
    const int status = parse_directory(record, root);
    if (status != PFA_E_NO_ERROR || root[0] != '$' || pfa_has_component(record, PFA_DEVICE) == 0) {
        return status;
    }
    char below_here[PFA_PATH_SIZE + 2] = "./";
    std::strcpy(below_here + 2, root);
    return parse_directory(record, below_here);
}

// Such a root need not be a name that the host system knows.
bool is_expanded(std::string_view root) {
    return root[0] == '~' || root.find('$') != root.npos;
}

bool is_same_directory(const char *first, const char *second) {
    struct stat a;
    struct stat b;
    if (stat(first, &a) != 0 || stat(second, &b) != 0) {
        return true; // nothing speaks against it; opening it will tell
    }
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// What stands before the path of a root with a host: "host:" (a drive looks the same) or
// "/////host".
std::size_t host_text_length(vek_file *record, const char *root) {
    char host[PFA_HOST_SIZE];
    if (pfa_get_host(record, host) != PFA_E_NO_ERROR) {
        return 0;
    }
    return std::strlen(host) + (root[0] == '/' ? 5 : 1);
}

bool names_host_or_device(vek_file *record) {
    return pfa_has_component(record, PFA_HOST) != 0 || pfa_has_component(record, PFA_DEVICE) != 0;
}

// The root's path is the rest of its text. A device, or a path relative to a host, names no
// directory that this host could open.
int resolve_host_root(vek_file *record, const char *root, int *prefix_length) {
    const std::size_t lead = host_text_length(record, root);
    const std::string_view rest = std::string_view(root).substr(std::min(lead, std::strlen(root)));
    char path[PFA_PATH_SIZE];
    const int status = pfa_get_path(record, path);
    if (status != PFA_E_NO_ERROR) {
        return status;
    }
    const std::string_view parsed(path);
    if (lead == 0 || rest.empty() || rest[0] != '/' || parsed.size() != rest.size() + 1 ||
        !parsed.starts_with(rest)) {
        return PFA_E_INVALID_NAME;
    }
    *prefix_length = static_cast<int>(parsed.size());
    return PFA_E_NO_ERROR;
}

// The record's directory as text, without its final '/'. The layer keeps parent steps at the top of
// the file system, where they lead nowhere.
int directory_text(vek_file *record, char out[PFA_PATH_SIZE]) {
    const int status = pfa_get_file_name(record, PFA_DIRECTORY_NAME, out);
    if (status != PFA_E_NO_ERROR) {
        return status;
    }
    std::size_t length = std::strlen(out);
    if (length == 0 || out[0] != '/' || out[length - 1] != '/') {
        return PFA_E_INVALID_NAME;
    }
    while (std::strncmp(out, "/../", 4) == 0) {
        length -= 3;
        std::memmove(out, out + 3, length + 1);
    }
    out[length - 1] = '\0';
    return PFA_E_NO_ERROR;
}

int resolve_path_root(vek_file *record, const char *root, char target[PFA_PATH_SIZE],
                      int *prefix_length) {
    char absolute[PFA_PATH_SIZE];
    int status = pfa_make_absolute_path(record);
    if (status == PFA_E_NO_ERROR) {
        status = directory_text(record, absolute);
    }
    if (status == PFA_E_NO_ERROR && names_host_or_device(record)) {
        status = PFA_E_INVALID_NAME; // ":" below "/" reads as a host
    }
    if (status != PFA_E_NO_ERROR) {
        return status;
    }
    if (is_plain(root)) {
        if (std::strcmp(absolute, root) != 0) {
            return PFA_E_INVALID_NAME;
        }
    } else {
        if (!is_expanded(root) && !is_same_directory(root, absolute[0] == '\0' ? "/" : absolute)) {
            return PFA_E_INVALID_NAME;
        }
        // The text will be parsed again: it must come out as itself.
        char again[PFA_PATH_SIZE];
        status = parse_directory(record, absolute);
        if (status == PFA_E_NO_ERROR) {
            status = directory_text(record, again);
        }
        if (status != PFA_E_NO_ERROR) {
            return status;
        }
        if (names_host_or_device(record) || std::strcmp(absolute, again) != 0) {
            return PFA_E_INVALID_NAME;
        }
    }
    std::strcpy(target, absolute);
    *prefix_length = static_cast<int>(std::strlen(absolute)) + 1;
    return PFA_E_NO_ERROR;
}

} // namespace

ctg_result resolve_root(const char *root, char target[PFA_PATH_SIZE], int *prefix_length) {
    std::strcpy(target, root);
    vek_file *record = nullptr;
    if (pfa_alloc_vek_file(&record) != PFA_E_NO_ERROR) {
        return CTG_OUT_OF_MEMORY;
    }
    int status = parse_root(record, root);
    if (status == PFA_E_NO_ERROR) {
        status = root[1] == ':' || names_host_or_device(record)
                     ? resolve_host_root(record, root, prefix_length)
                     : resolve_path_root(record, root, target, prefix_length);
    }
    (void)pfa_free_vek_file(&record);
    if (status == PFA_E_OUT_OF_MEMORY) {
        return CTG_OUT_OF_MEMORY;
    }
    return status == PFA_E_NO_ERROR ? CTG_DONE : CTG_FAILED;
}
