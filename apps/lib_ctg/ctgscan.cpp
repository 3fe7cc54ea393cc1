// The walk of the library tree.
//
// The layer understands some names that a directory can really have in a way of its own ('^',
// 'a\b', 'x::y', '$HOME', 'Foo.PRT'). Text that such a name is part of may lead to some other
// directory, so each directory must give back the very text that it was reached by, or it is not
// entered.
#include "apps/lib_ctg/ctgscan.h"

#include "apps/lib_ctg/ctgmsg.h"
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctmemmgr/getmem.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfastream.h"
#include "coretools/ctpfafs/pfafs_dir.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

// A directory being scanned. The chain of parents leads to the first one; it lives in the frames of
// the recursion, whose depth the length of a path bounds.
struct scan_level {
    const scan_level *parent; // null for the directory that scan_dir was called with
    int root_prefix_length;
    dev_t device;
    ino_t inode;
    std::size_t length;       // of path
    char path[PFA_PATH_SIZE]; // absolute, with a final '/'
};

// An entry of a listing, and what reading it returned.
struct scan_entry {
    vek_file *record;
    pfa_status status;
    int kind; // see pfa_entry_kind
};

ctg_result scan_level_of(const char *dir_path, int root_prefix_length, const scan_level *parent);

// Only the root's text is that of target_dir: the path of a directory below it ends in '/'.
void report_not_opened(const char *dir_path) {
    if (std::strcmp(dir_path, target_dir) == 0) {
        report_root_not_opened();
    } else {
        report_no_access(dir_path);
    }
}

// Stores in the level the path that dir_path stands for: for the directory that scan_dir was called
// with, less the host that may stand before it and with a '/'. True if the record, which dir_path
// was parsed into, reads back as that path.
bool is_named_by(vek_file *directory, const char *dir_path, scan_level *level) {
    const bool first = level->parent == nullptr;
    const std::size_t size = std::strlen(dir_path) + 1;
    const std::size_t host = first ? size - static_cast<std::size_t>(level->root_prefix_length) : 0;
    if (host >= size) {
        return false;
    }
    const int length =
        std::snprintf(level->path, sizeof level->path, "%s%s", dir_path + host, first ? "/" : "");
    level->length = static_cast<std::size_t>(length);
    return level->length < sizeof level->path && pfa_is_named(directory, level->path);
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
    pfa_status status = pfa_parse_to_vek_file(directory, dir_path);
    if (status == PFA_E_NO_ERROR) {
        status =
            is_named_by(directory, dir_path, level) ? pfa_open_dir(directory) : PFA_E_CANT_OPEN;
    }
    if (status == PFA_E_OUT_OF_MEMORY) {
        return CTG_OUT_OF_MEMORY;
    }
    if (status != PFA_E_NO_ERROR) {
        report_not_opened(dir_path);
        return CTG_FAILED;
    }
    // The layer has looked at the directory when it read it; no second look is needed.
    const bool identified = pfafs_get_dir_identity(directory, &level->device, &level->inode);
    if (identified && !is_own_ancestor(level)) {
        return CTG_DONE;
    }
    if (identified) {
        report_directory_loop(dir_path);
    } else {
        report_not_opened(dir_path);
    }
    (void)pfa_close(directory);
    return CTG_FAILED;
}

// The path below the root is the same for all members of a level.
ctg_result take_member(vek_file *entry, int type, const scan_level *level) {
    if (xar_count(&src_list) >= MEMBER_LIMIT) {
        return CTG_TOO_MANY;
    }
    auto *member = static_cast<member_record *>(getmem(sizeof(member_record)));
    if (member == nullptr) {
        return CTG_OUT_OF_MEMORY;
    }
    member->type = type;
    (void)pfa_get_name(entry, member->name);
    const std::size_t below = level->length - static_cast<std::size_t>(level->root_prefix_length);
    if (below > 0) {
        std::memcpy(member->path, level->path + level->root_prefix_length, below - 1);
    }
    if (xar_append(&src_list, 1, &member) == nullptr) {
        rlsmem(member);
        return CTG_OUT_OF_MEMORY;
    }
    return CTG_DONE;
}

// Types the entry of a file and takes it if the type is known.
ctg_result take_file(vek_file *entry, const scan_level *level) {
    const pfa_status status = pfa_to_standard_form_private(entry, PFA_NO_DIRECTORY);
    if (status == PFA_E_OUT_OF_MEMORY) {
        return CTG_OUT_OF_MEMORY;
    }
    const int type = pfa_get_obj_type(entry);
    return status == PFA_E_NO_ERROR && type != OBJ_TYPE_NO_MEMBER ? take_member(entry, type, level)
                                                                  : CTG_DONE;
}

// path is the directory's name on disk, without the final '/' for which it has room. A directory
// that has no room in its record for the '/' and the extension DIR is not entered.
ctg_result take_directory(vek_file *entry, char *path, const scan_level *level) {
    if (pfa_to_standard_form_private(entry, PFA_DIRECTORY) == PFA_E_OUT_OF_MEMORY) {
        return CTG_OUT_OF_MEMORY;
    }
    if (pfa_is_dir(entry) == 0) {
        report_path_too_long("", path);
        return CTG_DONE;
    }
    std::strcat(path, "/");
    if (!pfa_is_named(entry, path)) {
        report_no_access(path);
        return CTG_DONE;
    }
    const ctg_result result = scan_level_of(path, level->root_prefix_length, level);
    return result == CTG_FAILED ? CTG_DONE : result;
}

// True if the name and the level's path are known to fit in a path, with the '.' before extension
// and version and the version itself.
bool surely_fits(const vek_file *entry, const scan_level *level) {
    constexpr std::size_t VERSION_AND_DOTS = 8;
    const int name_length = pfa_component_length(entry, PFA_NAME);
    const int extension_length = pfa_component_length(entry, PFA_EXTENSION);
    return level->length + static_cast<std::size_t>(name_length + extension_length) +
               VERSION_AND_DOTS <
           PFA_PATH_SIZE;
}

// False if the failed look itself says that no directory is there.
bool could_not_look(int kind) {
    return kind < 0 && kind != -ENOENT && kind != -ENOTDIR && kind != -ELOOP;
}

ctg_result take_entry(const scan_entry &entry, const scan_level *level) {
    if (entry.kind == PFA_NO_DIRECTORY && entry.status == PFA_E_NO_ERROR &&
        surely_fits(entry.record, level)) {
        return take_file(entry.record, level);
    }
    char name[PFA_PATH_SIZE];
    const pfa_status status =
        pfa_get_file_name_mixed_case(entry.record, PFA_NAME_AND_VERSION, name, 0);
    if (status == PFA_E_OUT_OF_MEMORY) {
        return CTG_OUT_OF_MEMORY;
    }
    if (status != PFA_E_NO_ERROR) {
        report_unreadable_entry(level->path);
        return CTG_DONE;
    }
    const std::size_t name_length = std::strlen(name);
    if (entry.status == PFA_E_INVALID_NAME || level->length + name_length >= PFA_PATH_SIZE) {
        report_path_too_long(level->path, name);
        return CTG_DONE;
    }
    char path[PFA_PATH_SIZE];
    std::memcpy(path, level->path, level->length);
    std::memcpy(path + level->length, name, name_length + 1);
    if (entry.kind == PFA_DIRECTORY) {
        return take_directory(entry.record, path, level);
    }
    if (could_not_look(entry.kind)) {
        report_no_access(path);
    }
    return take_file(entry.record, level);
}

// Reads the open directory to its end. A read that cannot make an entry of a name has moved past
// that name; any other failure would come back again and again.
ctg_result read_level(vek_file *directory, vek_file *record, const scan_level *level) {
    for (;;) {
        scan_entry entry = {record, PFA_E_NO_ERROR, PFA_NO_DIRECTORY};
        entry.status = pfa_read_dir_and_kind(directory, record, &entry.kind);
        if (entry.status == PFA_E_QUIT) {
            return CTG_DONE;
        }
        if (entry.status == PFA_E_OUT_OF_MEMORY) {
            return CTG_OUT_OF_MEMORY;
        }
        if (entry.status != PFA_E_NO_ERROR && entry.status != PFA_E_INVALID_NAME) {
            report_unreadable_entry(level->path);
            return CTG_DONE;
        }
        const ctg_result result = take_entry(entry, level);
        if (result != CTG_DONE) {
            return result;
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
