// Directories of the standard filesystem: listing, freshness, making, removing, moving.
#include "coretools/ctdci/dci.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfafs/pfafs_internal.h"
#include "coretools/ctpfafs/unix_opendir.h"
#include "coretools/ctpfafs/vek_is_dir.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>

#include <sys/stat.h>

namespace {

// What is known of an entry's kind: a kind, errno + DIR_FLAG_FAILED after a failed look, or this.
constexpr int DIR_FLAG_NOT_ASKED = -1;
constexpr int DIR_FLAG_FAILED = 1;

// An open directory. Times are whole seconds.
struct pfafs_directory {
    static constexpr pfafs_kind KIND = pfafs_kind::directory;
    pfafs_kind kind;
    int times_known; // 1 when the status of the directory could be read at open
    unix_dir *listing;
    std::time_t mtime;
    std::time_t seen_time; // the later of its modification and access times at open
    int *dir_flags;        // for each element of the listing, its closing null included
};

// The directory open on a directory record; null when there is none.
pfafs_directory *directory_of(const vek_file *record, void *const *data) {
    return pfa_is_dir(record) ? pfafs_block<pfafs_directory>(data) : nullptr;
}

void release_directory(pfafs_directory *block) {
    os_closedir(block->listing);
    relmem(&block->dir_flags);
    relmem(&block);
}

// A block that owns the listing. If memory runs out, releases the listing and returns null; getmem
// could jump out and lose it.
pfafs_directory *new_directory(unix_dir *listing) {
    pfafs_directory *block = static_cast<pfafs_directory *>(getmem_null(sizeof(pfafs_directory)));
    if (block == nullptr) {
        os_closedir(listing);
        return nullptr;
    }
    block->kind = pfafs_directory::KIND;
    block->listing = listing;
    const int count = xar_count(&listing->names);
    block->dir_flags = static_cast<int *>(getmem_null(count * static_cast<int>(sizeof(int))));
    if (block->dir_flags == nullptr) {
        release_directory(block);
        return nullptr;
    }
    for (int i = 0; i < count; ++i) {
        const char *name = listing->names[i];
        block->dir_flags[i] = name == nullptr ? DIR_FLAG_NOT_ASKED : os_listed_as_dir(name);
    }
    return block;
}

// The kind of a name below the directory, asked of the host.
// path holds 260 characters; path_length is that of the directory's name in it, which is built at
// the first question of a call: -1 before, 260 when it cannot be built. A name too long for the
// host counts as no directory.
int ask_kind(vek_file *directory, const char *entry, char *path, int *path_length) {
    if (*path_length < 0) {
        *path_length = pfa_get_full_name(directory, path) == PFA_E_NO_ERROR
                           ? static_cast<int>(std::strlen(path))
                           : PFA_PATH_SIZE;
    }
    const int entry_length = static_cast<int>(std::strlen(entry));
    if (*path_length + entry_length >= PFA_PATH_SIZE) {
        return PFA_NO_DIRECTORY;
    }
    std::memcpy(path + *path_length, entry, static_cast<std::size_t>(entry_length) + 1);
    return vek_kind_of(path);
}

// The kind of the entry just read: as it was listed, or asked of the host once and kept.
int entry_kind(vek_file *directory, pfafs_directory *block, const char *entry, char *path,
               int *path_length) {
    int *flag = &block->dir_flags[block->listing->next - 1];
    if (*flag == DIR_FLAG_NOT_ASKED) {
        const int kind = ask_kind(directory, entry, path, path_length);
        *flag = kind < 0 ? DIR_FLAG_FAILED - kind : kind;
    }
    return *flag > DIR_FLAG_FAILED ? DIR_FLAG_FAILED - *flag : *flag;
}

// Gives the entry record the directory's location type, no location yet, and the name. Only the
// name is parsed: a file may be called "x::p.prt" or "a\b.igs", and that is no place.
int put_entry(vek_file *directory, const char *name, vek_file *entry) {
    entry->location_type = directory->location_type;
    return parse_to_pfa(entry, 0, name);
}

int pfafs_open_dir(vek_file *record, void **data, const char *location, const char *pattern) {
    return pfa_actually_open_dir(record, data, location, pattern, pfafs_name_form::file_name);
}

// Without a filter the next entry is taken. A filter that takes none runs through the rest of the
// directory, and may come without an output record. with_kind asks for the kind.
int pfafs_dir_read_next(vek_file *directory, void **data, vek_file *entry,
                        const pfa_dir_filter *filter, void *argument, int with_kind) {
    pfafs_directory *block = directory_of(directory, data);
    if (block == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    char path[PFA_PATH_SIZE];
    int path_length = -1;
    for (;;) {
        const char *name = os_readdir(block->listing, nullptr);
        if (name == nullptr) {
            return PFA_E_QUIT;
        }
        const int kind = filter != nullptr && with_kind != 0
                             ? entry_kind(directory, block, name, path, &path_length)
                             : PFA_NO_DIRECTORY;
        if (pfafs_filter_takes(filter, directory, name, with_kind != 0, kind, argument)) {
            return pfa_is_valid(entry) ? put_entry(directory, name, entry) : PFA_E_INVALID_INPUT;
        }
    }
}

// A record that became a directory while a stream was open on it still holds the stream.
int pfafs_close_dir(vek_file *record, void **data) {
    if (!pfa_is_dir(record)) {
        return PFA_E_INVALID_INPUT;
    }
    const int result = pfafs_close_listing(data);
    return result == PFA_E_INVALID_INPUT ? pfafs_close_stream(data) : result;
}

// 1 when the listing may no longer be what the directory holds. Times count whole seconds, so that
// a directory that changed in the second in which it was read could have changed after it.
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
    const std::size_t length = std::strlen(name);
    if (length > 0 && name[length - 1] == '/') {
        name[length - 1] = '\0';
    }
    return dci_mkdir(name, 0777) < 0 ? PFA_E_ERROR : PFA_E_NO_ERROR;
}

int pfafs_remove_dir(vek_file *record) {
    char name[PFA_PATH_SIZE];
    const int result = pfafs_host_name(record, pfafs_name_form::full_name, name);
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
    name[std::strlen(name) - 1] = '\0';
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

int pfafs_close_listing(void **data) {
    pfafs_directory *block = pfafs_block<pfafs_directory>(data);
    if (block == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    release_directory(block);
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
    pfafs_directory *block = new_directory(listing);
    if (block == nullptr) {
        return PFA_E_OUT_OF_MEMORY;
    }
    struct stat status;
    if (stat(location, &status) == 0) {
        block->times_known = 1;
        block->mtime = status.st_mtime;
        block->seen_time = std::max(status.st_mtime, status.st_atime);
    }
    *data = block;
    return block->times_known ? PFA_E_NO_ERROR : PFA_E_NOT_CACHABLE;
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
