// The walk of the library tree.
//
// The layer understands some names that a directory can really have in a way of its own ('^',
// 'a\b', 'x::y', '$HOME', 'Foo.PRT'). Text that such a name is part of may lead to some other
// directory, so each directory must give back the very text that it was reached by, or it is not
// entered.
#include "apps/lib_ctg/ctgscan.h"

#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfastream.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <sys/stat.h>

namespace {

// A directory being scanned. The chain of parents leads to the root; it lives in the frames of the
// recursion, whose depth the length of a path bounds.
struct scan_level {
    const scan_level *parent; // null for the root
    int root_prefix_length;
    dev_t device;
    ino_t inode;
    std::size_t length;       // of path
    char path[PFA_PATH_SIZE]; // absolute, with a final '/'
};

ctg_result scan_level_of(const char *dir_path, int root_prefix_length, const scan_level *parent);

void report_not_opened(const char *dir_path) {
    if (std::strcmp(dir_path, target_dir) == 0) {
        report_root_not_opened();
    } else {
        std::printf("Warning: No access to %s\n", dir_path);
    }
}

bool is_out_of_memory(int status) {
    return status == PFA_E_OUT_OF_MEMORY;
}

// The level's path is what the record says it names: for a subdirectory it must be dir_path to the
// letter, for a root dir_path with a '/', less the host that may stand before it.
bool is_named_by(vek_file *directory, const char *dir_path, scan_level *level) {
    if (pfa_get_path(directory, level->path) != PFA_E_NO_ERROR || level->path[0] != '/') {
        return false;
    }
    level->length = std::strlen(level->path);
    if (level->parent != nullptr) {
        return std::strcmp(level->path, dir_path) == 0;
    }
    const std::size_t lead = std::strlen(dir_path) + 1 - level->root_prefix_length;
    return level->length == static_cast<std::size_t>(level->root_prefix_length) &&
           std::strncmp(level->path, dir_path + lead, level->length - 1) == 0;
}

// Learns which directory the level's path leads to.
bool identify(scan_level *level) {
    struct stat status;
    if (stat(level->path, &status) != 0) {
        return false;
    }
    level->device = status.st_dev;
    level->inode = status.st_ino;
    return true;
}

bool is_own_ancestor(const scan_level *level) {
    for (const scan_level *above = level->parent; above != nullptr; above = above->parent) {
        if (above->device == level->device && above->inode == level->inode) {
            return true;
        }
    }
    return false;
}

ctg_result open_level(vek_file *directory, const char *dir_path, scan_level *level) {
    int status = pfa_parse_to_vek_file(directory, dir_path);
    if (is_out_of_memory(status)) {
        return CTG_OUT_OF_MEMORY;
    }
    if (status != PFA_E_NO_ERROR || !is_named_by(directory, dir_path, level) || !identify(level)) {
        report_not_opened(dir_path);
        return CTG_FAILED;
    }
    if (is_own_ancestor(level)) {
        std::printf("Warning: Directory loop at %s\n", dir_path);
        return CTG_FAILED;
    }
    status = pfa_open_dir(directory);
    if (is_out_of_memory(status)) {
        return CTG_OUT_OF_MEMORY;
    }
    if (status != PFA_E_NO_ERROR) {
        report_not_opened(dir_path);
        return CTG_FAILED;
    }
    return CTG_DONE;
}

// The file and its directory are known to fit in a path; the member's own path loses the root's
// part and the final '/'.
ctg_result take_member(vek_file *entry, int type, const char *path, const scan_level *level) {
    if (xar_count(&src_list) >= MEMBER_LIMIT) {
        return CTG_TOO_MANY;
    }
    auto *member = static_cast<member_record *>(getmem(sizeof(member_record)));
    if (member == nullptr) {
        return CTG_OUT_OF_MEMORY;
    }
    member->type = type;
    if (pfa_get_name(entry, member->name) != PFA_E_NO_ERROR ||
        pfa_get_path(entry, member->path) != PFA_E_NO_ERROR ||
        std::strcmp(member->path, level->path) != 0) {
        std::printf("Warning: No access to %s\n", path);
        rlsmem(member);
        return CTG_DONE;
    }
    const std::size_t below = level->length - level->root_prefix_length;
    std::memmove(member->path, member->path + level->root_prefix_length, below + 1);
    if (below > 0) {
        member->path[below - 1] = '\0';
    }
    if (xar_append(&src_list, 1, &member) == nullptr) {
        rlsmem(member);
        return CTG_OUT_OF_MEMORY;
    }
    return CTG_DONE;
}

// path is the directory's name on disk, without the final '/' for which it has room.
ctg_result take_directory(vek_file *entry, char *path, const scan_level *level) {
    std::strcat(path, "/");
    bool named = false;
    {
        char name[PFA_PATH_SIZE];
        const int status = pfa_get_file_name(entry, PFA_DIRECTORY_NAME, name);
        if (is_out_of_memory(status)) {
            return CTG_OUT_OF_MEMORY;
        }
        named = status == PFA_E_NO_ERROR && std::strcmp(name, path) == 0;
    }
    if (!named) {
        std::printf("Warning: No access to %s\n", path);
        return CTG_DONE;
    }
    const ctg_result result = scan_level_of(path, level->root_prefix_length, level);
    return result == CTG_FAILED ? CTG_DONE : result;
}

// What reading an entry told beside its name.
struct entry_answers {
    int status;
    int kind; // see pfa_entry_kind
};

// False also where the failed look says that no directory is there.
bool could_not_look(int kind) {
    return kind < 0 && kind != -ENOENT && kind != -ENOTDIR && kind != -ELOOP;
}

ctg_result take_entry(vek_file *entry, const entry_answers &read, const scan_level *level) {
    char path[PFA_PATH_SIZE];
    {
        char name[PFA_PATH_SIZE];
        const int status = pfa_get_file_name_mixed_case(entry, PFA_NAME_AND_VERSION, name, 0);
        if (is_out_of_memory(status)) {
            return CTG_OUT_OF_MEMORY;
        }
        if (status != PFA_E_NO_ERROR) {
            std::printf("Warning: Could not read an entry of %s\n", level->path);
            return CTG_DONE;
        }
        const std::size_t name_length = std::strlen(name);
        if (read.status == PFA_E_INVALID_NAME || level->length + name_length >= sizeof path) {
            std::printf("Warning: Path too long: %s%s\n", level->path, name);
            return CTG_DONE;
        }
        std::memcpy(path, level->path, level->length);
        std::memcpy(path + level->length, name, name_length + 1);
    }
    const int status = pfa_to_standard_form_private(entry, read.kind == PFA_DIRECTORY ? 1 : 0);
    if (is_out_of_memory(status)) {
        return CTG_OUT_OF_MEMORY;
    }
    const int type = pfa_get_obj_type(entry);
    if (type == OBJ_TYPE_DIRECTORY) {
        return take_directory(entry, path, level);
    }
    if (read.kind ==
        PFA_DIRECTORY) { // its record has no room for the final '/' and the extension DIR
        std::printf("Warning: Path too long: %s\n", path);
        return CTG_DONE;
    }
    if (could_not_look(read.kind)) {
        std::printf("Warning: No access to %s\n", path);
    }
    if (type == OBJ_TYPE_NO_MEMBER || status != PFA_E_NO_ERROR) {
        return CTG_DONE;
    }
    return take_member(entry, type, path, level);
}

// Reads the open directory to its end. A read that cannot make an entry of a name has moved past
// that name; the other failures would come back for ever, and end the listing.
ctg_result read_level(vek_file *directory, vek_file *entry, const scan_level *level) {
    for (;;) {
        entry_answers read = {};
        read.status = pfa_read_dir_and_kind(directory, entry, &read.kind);
        if (read.status == PFA_E_QUIT) {
            return CTG_DONE;
        }
        if (is_out_of_memory(read.status)) {
            return CTG_OUT_OF_MEMORY;
        }
        if (read.status == PFA_E_NO_ERROR || read.status == PFA_E_INVALID_NAME) {
            const ctg_result result = take_entry(entry, read, level);
            if (result != CTG_DONE) {
                return result;
            }
            continue;
        }
        std::printf("Warning: Could not read an entry of %s\n", level->path);
        if (read.status == -1 || read.status == PFA_E_INACTIVE || read.status == PFA_E_NOT_VALID ||
            directory->location_handle == nullptr) {
            return CTG_DONE;
        }
    }
}

ctg_result scan_level_of(const char *dir_path, int root_prefix_length, const scan_level *parent) {
    scan_level level;
    level.parent = parent;
    level.root_prefix_length = root_prefix_length;
    vek_file *directory = nullptr;
    vek_file *entry = nullptr;
    ctg_result result = CTG_OUT_OF_MEMORY;
    if (pfa_alloc_vek_file(&directory) == PFA_E_NO_ERROR &&
        pfa_alloc_vek_file(&entry) == PFA_E_NO_ERROR) {
        result = open_level(directory, dir_path, &level);
        if (result == CTG_DONE) {
            result = read_level(directory, entry, &level);
            (void)pfa_close(directory);
        }
    }
    (void)pfa_free_vek_file(&entry);
    (void)pfa_free_vek_file(&directory);
    return result;
}

} // namespace

ctg_result scan_dir(const char *dir_path, int root_prefix_length) {
    return scan_level_of(dir_path, root_prefix_length, nullptr);
}

void report_root_not_opened() {
    std::printf("Error: Could not open %s\n", target_dir);
    std::printf("       Please make sure directory is readable.\n");
}
