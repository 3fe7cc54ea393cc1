// Deleting, truncating and renaming files of the standard filesystem.
#include "coretools/ctdci/dci.h"
#include "coretools/ctpfafs/pfafs_internal.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

namespace {

int pfafs_delete_file(vek_file *record) {
    char name[PFA_PATH_SIZE];
    if (pfafs_host_name(record, pfafs_name_form::file_name, name) != PFA_E_NO_ERROR) {
        return PFA_E_INVALID_NAME;
    }
    return dci_unlink(name) != 0 ? PFA_E_ERROR : PFA_E_NO_ERROR;
}

// The file must be open. Does not flush its stream first.
int pfafs_truncate_file(vek_file *record, void **data, const int *length) {
    if (pfafs_stream_of(record, data) == nullptr || length == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    // If the name cannot be built it is empty, and truncate() fails.
    char name[PFA_PATH_SIZE];
    (void)pfafs_host_name(record, pfafs_name_form::file_name, name);
    return truncate(name, *length) != 0 ? PFA_E_ERROR : PFA_E_NO_ERROR;
}

// The file type bits of st_mode, links not followed; 0 if there is no such file.
mode_t file_type(const char *name) {
    struct stat status;
    return lstat(name, &status) == 0 ? status.st_mode & S_IFMT : 0;
}

// Renames a directory onto an existing file, which the host refuses. The file is moved aside to a
// new name beside it, and moved back if the directory still cannot take its place. That name is
// short: the file's own may be as long as the host allows.
bool replace_file_by_directory(const char *from, const char *to) {
    const char *slash = std::strrchr(to, '/');
    const int parent_length = slash != nullptr ? static_cast<int>(slash - to) + 1 : 0;
    char aside[PFA_PATH_SIZE];
    if (std::snprintf(aside, sizeof aside, "%.*s.oldXXXXXX", parent_length, to) >=
        static_cast<int>(sizeof aside)) {
        return false;
    }
    const int placeholder = mkstemp(aside);
    if (placeholder < 0) {
        return false;
    }
    close(placeholder);
    if (dci_rename(to, aside) != 0) {
        dci_unlink(aside);
        return false;
    }
    if (dci_rename(from, to) != 0) {
        dci_rename(aside, to);
        return false;
    }
    dci_unlink(aside);
    return true;
}

// `from` and `to` are host names. PFA_E_ERROR if the host refuses; both files are then as they
// were.
int pfafs_rename_file(vek_file *, const char *from, const char *to) {
    if (from == nullptr || to == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    if (dci_rename(from, to) == 0) {
        return PFA_E_NO_ERROR;
    }
    if (errno != ENOTDIR || file_type(from) != S_IFDIR) {
        return PFA_E_ERROR;
    }
    const mode_t target = file_type(to);
    const bool in_the_way = target != 0 && target != S_IFDIR;
    return in_the_way && replace_file_by_directory(from, to) ? PFA_E_NO_ERROR : PFA_E_ERROR;
}

int pfafs_is_case_sensitive(vek_file *) {
    return 1;
}

} // namespace

void pfafs_register_file_functions() {
    pfa_loc_method_register(PfaStdFilesystem, PfaDeleteFile, pfafs_delete_file);
    pfa_loc_method_register(PfaStdFilesystem, PfaTruncateFile, pfafs_truncate_file);
    pfa_loc_method_register(PfaStdFilesystem, PfaRenameFile, pfafs_rename_file);
    pfa_loc_method_register(PfaStdFilesystem, PfaCaseSensitiveLoc, pfafs_is_case_sensitive);
}
