// The library root: the text that a build works on.
#include "apps/lib_ctg/ctgroot.h"

#include "coretools/ctpfa/path_text.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/genutil1/bounded_text.h"

#include <cstring>
#include <string_view>

#include <sys/stat.h>

namespace {

bool is_plain(std::string_view root) {
    return root.find_first_of("$~") == root.npos && is_plain_path(root);
}

using root_text = bounded_text<PFA_PATH_SIZE>;

// Parses `directory` with a '/' behind it, in *text: text that is all location, which the layer
// takes for a directory without asking the disk.
pfa_status parse_directory(vek_file *record, const char *directory, root_text *text) {
    return text->append(directory) && text->append('/')
               ? pfa_parse_to_vek_file(record, text->c_str())
               : PFA_E_INVALID_INPUT;
}

// A '$' that no variable follows begins a directory's name here, and a device in the layer.
pfa_status parse_root(vek_file *record, const char *root) {
    root_text text;
    const pfa_status status = parse_directory(record, root, &text);
    if (status != PFA_E_NO_ERROR || root[0] != '$' || pfa_has_component(record, PFA_DEVICE) == 0) {
        return status;
    }
    text.clear();
    return text.append("./") ? parse_directory(record, root, &text) : PFA_E_INVALID_INPUT;
}

// Such a root need not be a name that the host system knows.
bool is_expanded(std::string_view root) {
    return root[0] == '~' || root.find('$') != root.npos;
}

// Also true if one of them cannot be examined: opening it will tell.
bool is_same_directory(const char *first, const char *second) {
    struct stat a;
    struct stat b;
    if (stat(first, &a) != 0 || stat(second, &b) != 0) {
        return true;
    }
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool names_host_or_device(vek_file *record) {
    return pfa_has_component(record, PFA_HOST) != 0 || pfa_has_component(record, PFA_DEVICE) != 0;
}

// Such a root is "host:" (a drive looks the same) or "/////host" and its path; no method tells how
// long the location in front of the path was. A device, or a path relative to a host, names no
// directory that this host could open.
pfa_status resolve_host_root(vek_file *record, library_root *root) {
    char host[PFA_HOST_SIZE];
    char path[PFA_PATH_SIZE];
    pfa_status status = pfa_get_host(record, host);
    if (status == PFA_E_NO_ERROR) {
        status = pfa_get_path(record, path);
    }
    if (status != PFA_E_NO_ERROR) {
        return status;
    }
    const std::string_view text(root->text);
    const std::string_view host_mark = text.starts_with('/') ? "/////" : ":";
    const std::size_t location_size = std::strlen(host) + host_mark.size();
    std::string_view parsed(path);
    if (host[0] == '\0' || !parsed.starts_with('/') || parsed == "/") {
        return PFA_E_INVALID_NAME;
    }
    root->prefix_length = static_cast<int>(parsed.size());
    parsed.remove_suffix(1); // the root's text has no final '/'
    return text.size() == location_size + parsed.size() && text.ends_with(parsed)
               ? PFA_E_NO_ERROR
               : PFA_E_INVALID_NAME;
}

// The record's directory as text, without its final '/'. The layer keeps parent steps at the top of
// the file system, where they lead nowhere.
pfa_status directory_text(vek_file *record, char out[PFA_PATH_SIZE]) {
    const pfa_status status = pfa_get_file_name(record, PFA_DIRECTORY_NAME, out);
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

// Fails with PFA_E_INVALID_NAME if directory, which will be parsed again, comes out as another.
pfa_status check_parsed_again(vek_file *record, const char *directory) {
    root_text text;
    const pfa_status status = parse_directory(record, directory, &text);
    if (status != PFA_E_NO_ERROR) {
        return status;
    }
    return !names_host_or_device(record) && pfa_is_named(record, text.c_str()) ? PFA_E_NO_ERROR
                                                                               : PFA_E_INVALID_NAME;
}

pfa_status resolve_path_root(vek_file *record, library_root *root) {
    char absolute[PFA_PATH_SIZE];
    pfa_status status = pfa_make_absolute_path(record);
    if (status == PFA_E_NO_ERROR) {
        status = directory_text(record, absolute);
    }
    if (status != PFA_E_NO_ERROR) {
        return status;
    }
    if (names_host_or_device(record)) { // ":" below "/" reads as a host
        return PFA_E_INVALID_NAME;
    }
    if (is_plain(root->text)) {
        status = std::strcmp(absolute, root->text) == 0 ? PFA_E_NO_ERROR : PFA_E_INVALID_NAME;
    } else if (!is_expanded(root->text) &&
               !is_same_directory(root->text, absolute[0] == '\0' ? "/" : absolute)) {
        status = PFA_E_INVALID_NAME;
    } else {
        status = check_parsed_again(record, absolute);
    }
    if (status == PFA_E_NO_ERROR) {
        std::strcpy(root->text, absolute);
        root->prefix_length = static_cast<int>(std::strlen(absolute)) + 1;
    }
    return status;
}

} // namespace

ctg_result resolve_root(const char *root, library_root *resolved) {
    std::strcpy(resolved->text, root);
    resolved->prefix_length = 0;
    if (root[0] == '\0') {
        return CTG_DONE;
    }
    vek_file *record = nullptr;
    if (pfa_alloc_vek_file(&record) != PFA_E_NO_ERROR) {
        return CTG_OUT_OF_MEMORY;
    }
    pfa_status status = parse_root(record, root);
    if (status == PFA_E_NO_ERROR) {
        status = root[1] == ':' || names_host_or_device(record)
                     ? resolve_host_root(record, resolved)
                     : resolve_path_root(record, resolved);
    }
    (void)pfa_free_vek_file(&record);
    if (status == PFA_E_OUT_OF_MEMORY) {
        return CTG_OUT_OF_MEMORY;
    }
    return status == PFA_E_NO_ERROR ? CTG_DONE : CTG_FAILED;
}
