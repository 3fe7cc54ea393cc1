// Directories of the standard filesystem: listing, freshness, making, removing, moving.
#include "coretools/ctpfafs/pfafs_dir.h"

#include "coretools/ctdci/dci.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctpfa/path_text.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfafs/pfafs_internal.h"
#include "coretools/ctpfafs/unix_opendir.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>

#include <sys/stat.h>

namespace {

// An open directory. Times are whole seconds.
struct pfafs_directory {
    static constexpr pfafs_kind KIND = pfafs_kind::directory;
    pfafs_kind kind;
    bool times_known; // false if the status of the directory could not be read at open
    unix_dir *listing;
    std::time_t mtime;
    std::time_t seen_time; // the later of the modification and access times at open
};

// The directory open on a directory record; null for none.
pfafs_directory *directory_of(const vek_file *record, void *const *data) {
    return pfa_is_dir(record) ? pfafs_block<pfafs_directory>(data) : nullptr;
}

// The times of the location text. It mostly is the name that was read, so that the look at the open
// directory serves for both.
void note_times(pfafs_directory *block, const char *location, const char *name) {
    const unix_dir_status &read = block->listing->status;
    struct stat status;
    if (std::strcmp(location, name) == 0 && read.known) {
        block->times_known = true;
        block->mtime = read.mtime;
        block->seen_time = std::max(read.mtime, read.atime);
    } else if (stat(location, &status) == 0) {
        block->times_known = true;
        block->mtime = status.st_mtime;
        block->seen_time = std::max(status.st_mtime, status.st_atime);
    }
}

// Makes an entry record of a name. A file may be called "x::p.prt" or "a\b.igs", so no location is
// looked for in it.
pfa_status put_entry(vek_file *directory, const char *name, vek_file *entry) {
    entry->location_type = directory->location_type;
    return parse_to_pfa(entry, 0, name);
}

int pfafs_open_dir(vek_file *record, void **data, const char *location, const char *pattern) {
    return pfa_actually_open_dir(record, data, location, pattern, pfafs_name_form::file_name);
}

// A filter that takes no entry sees the rest of the directory; `entry` may then be null.
int pfafs_dir_read_next(vek_file *directory, void **data, vek_file *entry,
                        const pfa_dir_filter *filter, void *argument, int with_kind) {
    pfafs_directory *block = directory_of(directory, data);
    if (block == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    while (const char *name = os_readdir(block->listing, nullptr)) {
        if (pfa_filter_takes(filter, directory, name, with_kind != 0, os_entry_kind(name),
                             argument)) {
            return pfa_is_valid(entry) ? put_entry(directory, name, entry) : PFA_E_INVALID_INPUT;
        }
    }
    return PFA_E_QUIT;
}

// A record that became a directory while a stream was open on it still holds the stream.
int pfafs_close_dir(vek_file *record, void **data) {
    if (!pfa_is_dir(record)) {
        return PFA_E_INVALID_INPUT;
    }
    const pfa_status result = pfafs_close_listing(data);
    return result == PFA_E_INVALID_INPUT ? pfafs_close_stream(data) : result;
}

// Returns 1 if the listing may be out of date, 0 if it is fresh. Times are whole seconds: a
// directory that changed in the second in which it was read may have changed after that.
int pfafs_dir_cache_invalid(vek_file *record, void **data, const char *location) {
    const pfafs_directory *block = directory_of(record, data);
    if (block == nullptr || location == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    if (!block->times_known || block->mtime >= block->seen_time) {
        return 1;
    }
    struct stat status;
    return stat(location, &status) != 0 || status.st_mtime != block->mtime ||
           (status.st_mode & S_IRUSR) == 0;
}

int pfafs_dir_cache_eligible(vek_file *, const char *) {
    return 1;
}

int pfafs_make_dir(vek_file *record) {
    char name[PFA_PATH_SIZE];
    if (pfafs_host_name(record, pfafs_name_form::full_name, name) != PFA_E_NO_ERROR) {
        return PFA_E_INVALID_NAME;
    }
    cut_closing_slash(name);
    return dci_mkdir(name, 0777) < 0 ? PFA_E_ERROR : PFA_E_NO_ERROR;
}

int pfafs_remove_dir(vek_file *record) {
    char name[PFA_PATH_SIZE];
    const pfa_status result = pfafs_host_name(record, pfafs_name_form::full_name, name);
    if (result != PFA_E_NO_ERROR || name[0] == '\0') {
        return result;
    }
    return dci_rmdir(name) != 0 ? PFA_E_ERROR : PFA_E_NO_ERROR;
}

// The directory's name without its closing '/'.
bool directory_name(vek_file *record, char *name) {
    if (pfa_get_file_name(record, PFA_DIRECTORY_NAME, name) != PFA_E_NO_ERROR || name[0] == '\0') {
        return false;
    }
    cut_closing_slash(name);
    return true;
}

// PFA_E_NOT_ALLOWED if `to` lies on another file system; every other failure is PFA_E_ERROR.
int pfafs_move_dir(vek_file *from, vek_file *to) {
    char from_name[PFA_PATH_SIZE];
    char to_name[PFA_PATH_SIZE];
    if (!directory_name(from, from_name) || !directory_name(to, to_name)) {
        return PFA_E_ERROR;
    }
    if (dci_rename(from_name, to_name) == 0) {
        return PFA_E_NO_ERROR;
    }
    return errno == EXDEV ? PFA_E_NOT_ALLOWED : PFA_E_ERROR;
}

} // namespace

pfa_status pfafs_close_listing(void **data) {
    pfafs_directory *block = pfafs_block<pfafs_directory>(data);
    if (block == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    os_closedir(block->listing);
    relmem(&block);
    *data = nullptr;
    return PFA_E_NO_ERROR;
}

int pfa_actually_open_dir(vek_file *record, void **data, const char *location, const char *pattern,
                          pfafs_name_form form) {
    if (data == nullptr || location == nullptr || !pfa_is_dir(record)) {
        return PFA_E_INVALID_INPUT;
    }
    if (*data != nullptr) {
        pfafs_directory *open = pfafs_block<pfafs_directory>(data);
        if (open == nullptr) {
            return PFA_E_INVALID_INPUT;
        }
        open->listing->next = 0;
        return PFA_E_NO_ERROR;
    }
    if (pfa_is_local(record) != 1) {
        return PFA_E_CANT_OPEN;
    }
    char name[PFA_PATH_SIZE];
    if (pfafs_host_name(record, form, name) != PFA_E_NO_ERROR) {
        return PFA_E_INVALID_NAME;
    }
    unix_dir *listing = os_opendir(name, pattern);
    if (listing == nullptr) {
        return errno == ENOMEM ? PFA_E_OUT_OF_MEMORY : PFA_E_CANT_OPEN;
    }
    // Not getmem, which could jump to a trap frame and lose the listing.
    auto *block = static_cast<pfafs_directory *>(getmem_null(sizeof(pfafs_directory)));
    if (block == nullptr) {
        os_closedir(listing);
        return PFA_E_OUT_OF_MEMORY;
    }
    block->kind = pfafs_directory::KIND;
    block->listing = listing;
    note_times(block, location, name);
    *data = block;
    return block->times_known ? PFA_E_NO_ERROR : PFA_E_NOT_CACHABLE;
}

bool pfafs_get_dir_identity(const vek_file *directory, dev_t *device, ino_t *inode) {
    if (!pfa_is_valid(directory) || directory->location_type != PfaStdFilesystem) {
        return false;
    }
    const pfafs_directory *block = directory_of(directory, &directory->location_handle);
    if (block == nullptr || !block->listing->status.known) {
        return false;
    }
    *device = block->listing->status.device;
    *inode = block->listing->status.inode;
    return true;
}

void pfafs_register_dir_functions() {
    pfa_loc_method_register(PfaStdFilesystem, PfaMakeDir, pfafs_make_dir);
    pfa_loc_method_register(PfaStdFilesystem, PfaRemoveDir, pfafs_remove_dir);
    pfa_loc_method_register(PfaStdFilesystem, PfaMoveDir, pfafs_move_dir);
    pfa_loc_method_register(PfaStdFilesystem, PfaDirOpen, pfafs_open_dir);
    pfa_loc_method_register(PfaStdFilesystem, PfaDirClose, pfafs_close_dir);
    pfa_loc_method_register(PfaStdFilesystem, PfaDirReadNext, pfafs_dir_read_next);
    pfa_loc_method_register(PfaStdFilesystem, PfaDirCacheInvalid, pfafs_dir_cache_invalid);
    pfa_loc_method_register(PfaStdFilesystem, PfaDirCacheEligible, pfafs_dir_cache_eligible);
}
