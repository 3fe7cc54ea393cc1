// Notices to the directory cache: which listing a change concerns.
#include "coretools/ctpfa/memory_guard_internal.h"
#include "coretools/ctpfa/path_text.h"
#include "coretools/ctpfa/pfacurdir.h"
#include "coretools/ctpfa/pfadircache.h"
#include "coretools/ctpfa/pfadircache_internal.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"

#include <cerrno>
#include <cstring>
#include <string_view>

namespace {

// Scratch records of a notice, one for each of its steps.
vek_file *named_file = nullptr;
vek_file *parent_directory = nullptr;
vek_file *relative_directory = nullptr;

// Splits a name without expanding it or asking for it on the disk.
bool parse_into(vek_file **scratch, const char *name) {
    return pfa_recycle_vek_file(scratch) == PFA_E_NO_ERROR &&
           parse_to_pfa(*scratch, 1, name) == PFA_E_NO_ERROR;
}

bool names_current_directory(const char *name) {
    return name == nullptr || name[0] == '\0' || std::strcmp(name, ".\\") == 0;
}

bool is_full_name(const char *name) {
    return name[0] == '/' || (name[0] != '\0' && name[1] == ':' && name[2] == '/');
}

// The key is formed as at the open.
void directory_changed(vek_file *directory) {
    char key[PFA_PATH_SIZE];
    if (pfa_get_location(directory, key, nullptr) == PFA_E_NO_ERROR) {
        pfa_full_dir_name_update_cache(key);
    }
}

// A separator at the end makes the whole name a directory. A '\' is one, too.
bool parse_directory(vek_file **scratch, std::string_view name) {
    path_text text;
    return text.append(name) && (is_separator(name.back()) || text.append('/')) &&
           parse_into(scratch, text.c_str());
}

void directory_name_changed(const char *name) {
    if (names_current_directory(name)) {
        directory_changed(pfa_get_cur_dir());
    } else if (is_full_name(name)) {
        pfa_full_dir_name_update_cache(name);
    } else if (parse_directory(&relative_directory, name)) {
        if (pfa_path_is_absolute(relative_directory)) {
            pfa_full_dir_name_update_cache(name);
        } else if (pfa_make_absolute_path(relative_directory) == PFA_E_NO_ERROR) {
            directory_changed(relative_directory);
        }
    }
}

// The parent of a file is its directory.
void record_changed(vek_file *record) {
    if (pfa_recycle_vek_file(&parent_directory) == PFA_E_NO_ERROR &&
        pfa_make_parent(record, parent_directory) == PFA_E_NO_ERROR) {
        directory_changed(parent_directory);
    }
}

// A notice follows a change that was made; no failure in it may reach the caller.
int notify(void (*notice)(void *), const void *argument) {
    const int saved_errno = errno;
    (void)pfa_call_guarded(notice, const_cast<void *>(argument));
    errno = saved_errno;
    return 0;
}

} // namespace

int pfa_file_name_update_dir_cache(const char *file_name) {
    const auto notice = [](void *name) {
        if (parse_into(&named_file, static_cast<const char *>(name))) {
            record_changed(named_file);
        }
    };
    return notify(notice, file_name);
}

int pfa_dir_cache_update(vek_file *record) {
    return notify([](void *changed) { record_changed(static_cast<vek_file *>(changed)); }, record);
}

int pfa_dir_name_update_cache(const char *directory_name) {
    return notify([](void *name) { directory_name_changed(static_cast<const char *>(name)); },
                  directory_name);
}
