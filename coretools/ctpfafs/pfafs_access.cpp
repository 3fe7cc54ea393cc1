// The status of files of the standard filesystem: access, times, mode, size, owners, free space.
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfafs/pfafs_internal.h"
#include "coretools/cttime/ptime.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>

#include <pwd.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace {

// A user or group id as text: a sign, ten digits and the terminating zero.
constexpr std::size_t ID_SIZE = 12;

// The directory that pfafs_get_avail_blocks walks up from.
vek_file *free_space_parent = nullptr;

// Fails with PFA_E_NOT_VALID if the record has no host name, with `cannot_look` if the host has no
// status for it.
pfa_status read_status(vek_file *record, struct stat *status, pfa_status cannot_look) {
    char name[PFA_PATH_SIZE];
    if (pfafs_host_name(record, pfafs_name_form::file_name, name) != PFA_E_NO_ERROR) {
        return PFA_E_NOT_VALID;
    }
    return stat(name, status) != 0 ? cannot_look : PFA_E_NO_ERROR;
}

// A file on a read-only file system cannot be written, whatever its permissions.
int Unix_pfa_access(vek_file *record, int mode, int lower) {
    char name[PFA_PATH_SIZE];
    if (pfa_get_file_name_mixed_case(record, PFA_OS_NAME, name, lower) != PFA_E_NO_ERROR) {
        return 0;
    }
    if (mode == F_OK) {
        struct stat status;
        return stat(name, &status) == 0;
    }
    if (access(name, mode) != 0) {
        return 0;
    }
    if (mode == W_OK) {
        struct statvfs file_system;
        return statvfs(name, &file_system) == 0 && (file_system.f_flag & ST_RDONLY) == 0;
    }
    return 1;
}

int pfafs_get_file_time(vek_file *record, ptime *accessed, ptime *modified, ptime *changed) {
    struct stat status;
    const pfa_status result = read_status(record, &status, PFA_E_ERROR);
    if (result == PFA_E_NO_ERROR) {
        zuna_gmtime(accessed, status.st_atime);
        zuna_gmtime(modified, status.st_mtime);
        zuna_gmtime(changed, status.st_ctime);
    }
    return result;
}

int pfafs_get_mode(vek_file *record, int *mode) {
    if (mode == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    struct stat status;
    const pfa_status result = read_status(record, &status, PFA_E_NO_ACCESS);
    if (result == PFA_E_NO_ERROR) {
        *mode = static_cast<int>(status.st_mode);
    }
    return result;
}

// A size that an int cannot hold becomes INT_MAX.
int pfafs_get_file_size(vek_file *record, int *size) {
    if (size == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    struct stat status;
    const pfa_status result = read_status(record, &status, PFA_E_NO_ACCESS);
    if (result == PFA_E_NO_ERROR) {
        *size = static_cast<int>(std::min<off_t>(status.st_size, INT_MAX));
    }
    return result;
}

void write_id(char *out, std::uintmax_t id) {
    if (out != nullptr) {
        std::snprintf(out, ID_SIZE, "%d", static_cast<int>(id));
    }
}

// Ids are written as signed numbers, which pfafs_chown reads back.
int pfafs_get_owners(vek_file *record, char *user_id, char *group_id, char *name) {
    struct stat status;
    const pfa_status result = read_status(record, &status, PFA_E_NO_ACCESS);
    if (result != PFA_E_NO_ERROR) {
        return result;
    }
    write_id(user_id, status.st_uid);
    write_id(group_id, status.st_gid);
    if (name != nullptr) {
        const passwd *user = getpwuid(status.st_uid);
        if (user == nullptr) {
            return PFA_E_ERROR;
        }
        std::snprintf(name, PFA_PATH_SIZE, "%s", user->pw_name);
    }
    return PFA_E_NO_ERROR;
}

int pfafs_chmod(vek_file *record, int mode) {
    char name[PFA_PATH_SIZE];
    if (pfafs_host_name(record, pfafs_name_form::file_name, name) != PFA_E_NO_ERROR) {
        return PFA_E_NOT_VALID;
    }
    return chmod(name, static_cast<mode_t>(mode)) == -1 ? PFA_E_ERROR : PFA_E_NO_ERROR;
}

// Text that is not a number must not be read as 0, the superuser.
bool read_id(const char *text, long long *id) {
    if (text == nullptr) {
        return false;
    }
    char *end;
    *id = std::strtoll(text, &end, 10);
    return end != text && *end == '\0' && *id >= INT_MIN && *id <= UINT_MAX;
}

// -1 leaves an owner as it is. Fails with PFA_E_INVALID_INPUT if a text is not a number.
int pfafs_chown(vek_file *record, const char *user_id, const char *group_id) {
    char name[PFA_PATH_SIZE];
    if (pfafs_host_name(record, pfafs_name_form::file_name, name) != PFA_E_NO_ERROR) {
        return PFA_E_NOT_VALID;
    }
    long long user;
    long long group;
    if (!read_id(user_id, &user) || !read_id(group_id, &group)) {
        return PFA_E_INVALID_INPUT;
    }
    return chown(name, static_cast<uid_t>(user), static_cast<gid_t>(group)) == -1 ? PFA_E_ERROR
                                                                                  : PFA_E_NO_ERROR;
}

// Replaces the name of a file that does not exist by that of its nearest existing parent.
pfa_status find_existing_parent(vek_file *record, char *name) {
    struct stat status;
    if (stat(name, &status) == 0) {
        return PFA_E_NO_ERROR;
    }
    const pfa_status recycled = pfa_recycle_vek_file(&free_space_parent);
    if (recycled != PFA_E_NO_ERROR) {
        return recycled;
    }
    if (pfa_make_parent(record, free_space_parent) != PFA_E_NO_ERROR) {
        return PFA_E_INVALID_INPUT;
    }
    for (;;) {
        if (pfa_get_file_name(free_space_parent, PFA_DIRECTORY_NAME, name) != PFA_E_NO_ERROR) {
            return PFA_E_INVALID_INPUT;
        }
        if (stat(name, &status) == 0) {
            return PFA_E_NO_ERROR;
        }
        const pfa_status result = pfa_make_parent(free_space_parent, free_space_parent);
        if (result != PFA_E_NO_ERROR) {
            return result;
        }
    }
}

// Stores the low 32 bits of the number of free blocks. Not safe on several threads at once, as they
// would share free_space_parent.
int pfafs_get_avail_blocks(vek_file *record, int *free_blocks, int *block_size) {
    if (pfa_is_local(record) != 1) {
        return PFA_E_NOT_ALLOWED;
    }
    char name[PFA_PATH_SIZE];
    if (free_blocks == nullptr || block_size == nullptr ||
        pfafs_host_name(record, pfafs_name_form::file_name, name) != PFA_E_NO_ERROR) {
        return PFA_E_INVALID_INPUT;
    }
    const pfa_status result = find_existing_parent(record, name);
    if (result != PFA_E_NO_ERROR) {
        return result;
    }
    struct statfs file_system;
    if (statfs(name, &file_system) != 0) {
        return errno == EACCES ? PFA_E_NO_ACCESS : PFA_E_ERROR;
    }
    *free_blocks = static_cast<int>(static_cast<std::uint32_t>(file_system.f_bfree));
    *block_size = static_cast<int>(file_system.f_bsize);
    return PFA_E_NO_ERROR;
}

// The host hides no files, so there is nothing to do for a local one.
int pfafs_make_hidden(vek_file *record) {
    return pfa_is_local(record) == 1 ? PFA_E_NO_ERROR : PFA_E_NOT_ALLOWED;
}

} // namespace

void pfafs_register_access_functions() {
    pfa_loc_method_register(PfaStdFilesystem, PfaAccess, Unix_pfa_access);
    pfa_loc_method_register(PfaStdFilesystem, PfaGetFileTime, pfafs_get_file_time);
    pfa_loc_method_register(PfaStdFilesystem, PfaGetMode, pfafs_get_mode);
    pfa_loc_method_register(PfaStdFilesystem, PfaGetFileSize, pfafs_get_file_size);
    pfa_loc_method_register(PfaStdFilesystem, PfaGetOwners, pfafs_get_owners);
    pfa_loc_method_register(PfaStdFilesystem, PfaChmod, pfafs_chmod);
    pfa_loc_method_register(PfaStdFilesystem, PfaChown, pfafs_chown);
    pfa_loc_method_register(PfaStdFilesystem, PfaGetAvailBlocks, pfafs_get_avail_blocks);
    pfa_loc_method_register(PfaStdFilesystem, PfaMakeHidden, pfafs_make_hidden);
}
