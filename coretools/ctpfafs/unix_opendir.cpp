// Directory snapshots: the names of a host directory, read whole when it is opened.
//
// A failure of getmem may jump to a trap frame and would lose what has been read, so memory comes
// from getmem_null, or under a guard.
#include "coretools/ctpfafs/unix_opendir.h"

#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctmemmgr/xar.h"
#include "coretools/ctpfa/memory_guard_internal.h"
#include "coretools/ctpfa/pfa_entry_kind.h"
#include "coretools/ctpfa/vek_file.h"

#include <cerrno>
#include <climits>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr int NAMES_STEP = 10;
constexpr int FIRST_TEXT_SIZE = 1024;

// The names read so far, one after the other: a byte with the kind, the name, its terminating zero.
// The byte is the kind, or FAILED_LOOK + errno.
struct name_list {
    char *text = nullptr;
    int used = 0;
    int size = 0;
    int count = 0;
    char **array = nullptr; // see unix_dir::names
};

constexpr int FAILED_LOOK = 1;

// Asks the host for the kind of a name in an open directory, links followed.
int look_at(DIR *directory, const char *name) {
    struct stat status;
    if (fstatat(dirfd(directory), name, &status, 0) == 0) {
        return S_ISDIR(status.st_mode) ? PFA_DIRECTORY : PFA_NO_DIRECTORY;
    }
    return FAILED_LOOK + (errno <= UCHAR_MAX - FAILED_LOOK ? errno : EIO);
}

// The byte for the kind of an entry. Most hosts list kinds; links have to be followed.
int kind_byte(DIR *directory, const dirent *entry) {
    switch (entry->d_type) {
    case DT_DIR:
        return PFA_DIRECTORY;
    case DT_LNK:
    case DT_UNKNOWN:
        return look_at(directory, entry->d_name);
    default:
        return PFA_NO_DIRECTORY;
    }
}

// Makes room for `size` more bytes. False if memory runs out; the names stay as they were.
bool make_room(name_list *names, int size) {
    if (size <= names->size - names->used) {
        return true;
    }
    if (names->size > INT_MAX / 2) {
        return false;
    }
    const int new_size = names->size == 0 ? FIRST_TEXT_SIZE : 2 * names->size;
    char *text = static_cast<char *>(getmem_null(new_size));
    if (text == nullptr) {
        return false;
    }
    if (names->used > 0) {
        std::memcpy(text, names->text, static_cast<std::size_t>(names->used));
    }
    relmem(&names->text);
    names->text = text;
    names->size = new_size;
    return true;
}

bool is_listed(const char *name) {
    return std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0 &&
           std::strlen(name) < PFA_PATH_SIZE;
}

// Returns 0 if the directory was read to its end, else the errno of the failure.
int read_names(DIR *directory, name_list *names) {
    for (;;) {
        errno = 0;
        const dirent *entry = readdir(directory);
        if (entry == nullptr) {
            return errno;
        }
        if (!is_listed(entry->d_name)) {
            continue;
        }
        const std::size_t length = std::strlen(entry->d_name) + 1;
        if (!make_room(names, static_cast<int>(length) + 1)) {
            return ENOMEM;
        }
        char *end = names->text + names->used;
        *end = static_cast<char>(kind_byte(directory, entry));
        std::memcpy(end + 1, entry->d_name, length);
        names->used += static_cast<int>(length) + 1;
        ++names->count;
    }
}

unix_dir_status status_of(DIR *directory) {
    struct stat status;
    if (fstat(dirfd(directory), &status) != 0) {
        return {};
    }
    return {true, status.st_dev, status.st_ino, status.st_mtime, status.st_atime};
}

// Makes the array of the names with its closing null, if there is memory.
void make_array(void *argument) {
    auto *names = static_cast<name_list *>(argument);
    names->array = xar_alloc_of<char *>(names->count + 1, NAMES_STEP);
    if (names->array == nullptr) {
        return;
    }
    char *kind = names->text;
    for (int i = 0; i < names->count; ++i) {
        names->array[i] = kind + 1;
        kind += std::strlen(kind + 1) + 2;
    }
}

} // namespace

unix_dir *unix_opendir(const char *name, const char *) {
    DIR *directory = opendir(name);
    if (directory == nullptr) {
        return nullptr;
    }
    name_list names;
    const int failure = read_names(directory, &names);
    const unix_dir_status status = status_of(directory);
    closedir(directory);

    // It would be fatal to ask for a larger array.
    if (failure == 0 && names.count < XAR_LIMIT_BYTES / static_cast<int>(sizeof(char *))) {
        (void)pfa_call_guarded(make_array, &names);
    }
    unix_dir *snapshot =
        names.array != nullptr ? static_cast<unix_dir *>(getmem_null(sizeof(unix_dir))) : nullptr;
    if (snapshot == nullptr) {
        xar_free(&names.array);
        relmem(&names.text);
        errno = failure != 0 ? failure : ENOMEM;
        return nullptr;
    }
    *snapshot = {names.array, 0, names.text, status};
    return snapshot;
}

const char *unix_readdir(unix_dir *snapshot, int *index) {
    if (index != nullptr) {
        *index = -1;
    }
    const char *name = snapshot->names[snapshot->next];
    if (name != nullptr) {
        ++snapshot->next;
    }
    return name;
}

int unix_closedir(unix_dir *snapshot) {
    if (snapshot != nullptr) {
        xar_free(&snapshot->names);
        relmem(&snapshot->text);
        relmem(&snapshot);
    }
    return 0;
}

unix_dir *os_opendir(const char *name, const char *pattern) {
    return unix_opendir(name, pattern);
}

const char *os_readdir(unix_dir *snapshot, int *index) {
    return unix_readdir(snapshot, index);
}

int os_entry_kind(const char *name) {
    const int kind = static_cast<unsigned char>(name[-1]);
    return kind > FAILED_LOOK ? FAILED_LOOK - kind : kind;
}

int os_closedir(unix_dir *snapshot) {
    return unix_closedir(snapshot);
}
