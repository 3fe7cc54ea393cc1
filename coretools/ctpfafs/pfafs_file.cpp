// Deleting, truncating and renaming files of the standard filesystem.
#include "coretools/ctdci/dci.h"
#include "coretools/ctpfafs/pfafs_internal.h"

#include <cerrno>
#include <iterator>

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

// The file must be open. What its stream still buffers is not written first.
int pfafs_truncate_file(vek_file *record, void **data, plm_ptr length_in) {
    const int *length = length_in.as<const int>();
    if (pfafs_stream_of(record, data) == nullptr || length == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    // A name that cannot be built is empty, and no file has it.
    char name[PFA_PATH_SIZE];
    pfafs_host_name(record, pfafs_name_form::file_name, name);
    return truncate(name, *length) != 0 ? PFA_E_ERROR : PFA_E_NO_ERROR;
}

// Both are host names. A target that the host refuses to replace is removed first, but not where
// that could not help: a rename that fails must not cost the user the target.
int pfafs_rename_file(vek_file *, plm_ptr from_in, plm_ptr to_in) {
    const char *from = from_in.as<const char>();
    const char *to = to_in.as<const char>();
    if (from == nullptr || to == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    if (dci_rename(from, to) == 0) {
        return PFA_E_NO_ERROR;
    }
    struct stat status;
    if (errno == EXDEV || errno == EACCES || errno == EPERM || lstat(from, &status) != 0) {
        return PFA_E_ERROR;
    }
    dci_unlink(to);
    return dci_rename(from, to) != 0 ? PFA_E_ERROR : PFA_E_NO_ERROR;
}

int pfafs_is_case_sensitive(vek_file *) {
    return 1;
}

constexpr pfafs_method METHODS[] = {
    {PfaDeleteFile, pfafs_delete_file},
    {PfaTruncateFile, pfafs_truncate_file},
    {PfaRenameFile, pfafs_rename_file},
    {PfaCaseSensitiveLoc, pfafs_is_case_sensitive},
};
static_assert(std::size(METHODS) == 4 && pfafs_methods_fit(METHODS));

} // namespace

void pfafs_register_file_functions() {
    pfafs_register_methods(PfaStdFilesystem, METHODS);
}
