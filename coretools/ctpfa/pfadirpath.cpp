// Derives path records from path records.
#include "coretools/ctpfa/pfadirpath.h"

#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/path_text.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfacurdir.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfajoin.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfa/pfarecord_internal.h"

namespace {

bool is_root_path(const vek_file *record, int path_index) {
    return path_index < 0 || !pfa_has_component(record, path_index) ||
           pfa_component_strcmp(record, path_index, "/", 1) == 0;
}

void drop_file_part(vek_file *record) {
    (void)pfa_put_component(record, PFA_NAME, "");
    (void)pfa_put_component(record, PFA_EXTENSION, "");
    (void)pfa_put_version(record, 0);
}

// Asks the location for the directory above its top.
pfa_status parent_of_root(vek_file *record, vek_file *parent) {
    return pfa_all_or_nothing(parent, [&] {
        parent->location_type = record->location_type; // the dispatch wants two records of one type
        const int made = pfaloc_call_FF(record, PfaMakeParent, parent);
        return made == PFA_E_NO_ERROR ? PFA_E_NO_ERROR : PFA_E_ROOT_DIR;
    });
}

pfa_status parent_of_unlocated(vek_file *record, vek_file *parent) {
    // The current directory of a process is one of the standard filesystem.
    if (record->location_type != PfaStdFilesystem) {
        return PFA_E_ROOT_DIR;
    }
    vek_file *current = pfa_get_cur_dir();
    if (current == nullptr) {
        return PFA_E_OUT_OF_MEMORY;
    }
    // Without a known working directory the current directory has no location itself.
    return pfa_has_location(current, nullptr) ? pfa_make_parent(current, parent) : PFA_E_ROOT_DIR;
}

// Cuts the last element off a directory's path, keeping the '/' in front of it.
pfa_status cut_last_element(vek_file *record, int path_index) {
    std::size_t size = parent_size(pfa_component_text(record, path_index));
    if (size == NO_PARENT) {
        char path[PFA_PATH_SIZE];
        (void)pfa_get_path(record, path); // takes back parent steps and drops empty elements
        (void)pfa_put_path(record, path);
        size = parent_size(pfa_component_text(record, path_index));
        if (size == NO_PARENT) {
            return PFA_E_ROOT_DIR;
        }
    }
    const auto end =
        static_cast<std::int16_t>(record->bounds[path_index].start + static_cast<int>(size));
    record->text[end] = '\0';
    record->bounds[path_index].end = end;
    for (int i = path_index + 1; i < PFA_COMPONENTS; ++i) {
        record->bounds[i] = {end, end};
    }
    return PFA_E_NO_ERROR;
}

} // namespace

pfa_status pfa_make_absolute_path(vek_file *record) {
    if (!pfa_is_valid(record)) {
        return PFA_E_NOT_VALID;
    }
    if (pfa_path_is_absolute(record)) {
        return PFA_E_NO_ERROR;
    }
    vek_file *current = pfa_get_cur_dir();
    return current == nullptr ? PFA_E_OUT_OF_MEMORY : concat_pfa_paths(current, record);
}

vek_file *extract_pfa_dir(const vek_file *record) {
    vek_file *directory = nullptr;
    if (!pfa_is_valid(record) || pfa_alloc_vek_file(&directory) != PFA_E_NO_ERROR) {
        return nullptr;
    }
    if (pfa_copy_directory(record, directory) != PFA_E_NO_ERROR) {
        (void)pfa_free_vek_file(&directory);
    }
    return directory;
}

pfa_status pfa_copy_directory(const vek_file *record, vek_file *directory) {
    (void)pfa_copy_vek_file(record, directory);
    if (pfa_is_dir(directory)) {
        return PFA_E_NO_ERROR;
    }
    drop_file_part(directory);
    return pfa_put_obj_type(directory, OBJ_TYPE_DIRECTORY);
}

pfa_status pfa_copy_vek_file(const vek_file *source, vek_file *destination) {
    if (!pfa_is_valid(source) || !pfa_is_valid(destination)) {
        return PFA_E_NOT_VALID;
    }
    if (source != destination) {
        *destination = *source;
        destination->location_handle = nullptr;
        destination->flags &= ~PFA_F_OPEN;
    }
    return PFA_E_NO_ERROR;
}

pfa_status pfa_make_subdir(const vek_file *directory, const char *name, vek_file *out) {
    if (!pfa_is_valid(directory) || !pfa_is_dir(directory) || !pfa_is_valid(out)) {
        return PFA_E_NOT_VALID;
    }
    if (name == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    return pfa_all_or_nothing(out, [&] {
        (void)pfa_copy_vek_file(directory, out);
        return pfa_location_append(out, out, name);
    });
}

pfa_status pfa_make_parent(vek_file *record, vek_file *parent) {
    if (!pfa_is_valid(record) || !pfa_is_valid(parent)) {
        return PFA_E_NOT_VALID;
    }
    const bool is_directory = pfa_is_dir(record);
    const int path_index = pfa_role_index(record, PfaPathIdx);
    if (is_directory) {
        if (!pfa_has_location(record, nullptr)) {
            return parent_of_unlocated(record, parent);
        }
        if (is_root_path(record, path_index)) {
            return parent_of_root(record, parent);
        }
    }
    return pfa_all_or_nothing(parent, [&] {
        (void)pfa_copy_vek_file(record, parent);
        pfa_status status = pfa_make_absolute_path(parent);
        if (status == PFA_E_NO_ERROR && is_directory) {
            status = cut_last_element(parent, path_index);
        } else if (status == PFA_E_NO_ERROR) {
            drop_file_part(parent);
            parent->type = OBJ_TYPE_DIRECTORY;
        }
        return status;
    });
}
