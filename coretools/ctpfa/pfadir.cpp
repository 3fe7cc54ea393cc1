// Opens, reads and closes directories, through the directory cache.
#include "coretools/ctpfa/pfadir.h"

#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctmemmgr/serious_errors.h"
#include "coretools/ctpfa/pfa_dir_filter.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfadir_internal.h"
#include "coretools/ctpfa/pfadircache.h"
#include "coretools/ctpfa/pfadircache_internal.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfaloc_call.h"
#include "coretools/ctpfa/pfapars.h"

#include <cstdio>

namespace {

bool is_directory_record(const vek_file *record) {
    return pfa_is_valid(record) && pfa_is_dir(record);
}

void borrow_listing(vek_file *directory, const vek_file *donor) {
    directory->location_handle = donor->location_handle;
    directory->flags |= PFA_F_BORROWED;
}

void undo_loan(vek_file *directory, vek_file *donor) {
    directory->location_handle = nullptr;
    directory->flags &= ~PFA_F_BORROWED;
    donor->flags &= ~PFA_F_LENT;
}

void trace_opening(const char *key, const char *subset, bool from_cache) {
    if (!pfa_dir_cache_debug()) {
        return;
    }
    if (from_cache) {
        std::printf("dir_cache> opening %s from cache\n", key);
    } else {
        std::printf("dir_cache> opening %s the hard way %s%s\n", key,
                    subset == nullptr ? "" : "looking for ", subset == nullptr ? "" : subset);
    }
}

// Makes a directory that is to be opened absolute and stores its key. Fails as pfa_open_dir does.
pfa_status prepare_to_open(vek_file *directory, char key[PFA_PATH_SIZE]) {
    if (!is_directory_record(directory)) {
        return PFA_E_NOT_VALID;
    }
    if (!pfa_is_local(directory) || pfa_file_is_open(directory)) {
        return PFA_E_CANT_OPEN;
    }
    directory->flags &= ~(PFA_F_BORROWED | PFA_F_LENT); // a copied record may still carry them
    const pfa_status made = pfa_make_absolute_path(directory);
    if (made != PFA_E_NO_ERROR) {
        return made == PFA_E_NO_METHOD ? PFA_E_INVALID_NAME : made;
    }
    return pfa_get_location(directory, key, nullptr) == PFA_E_NO_ERROR ? PFA_E_NO_ERROR
                                                                       : PFA_E_INVALID_NAME;
}

// With a filter, the location type is asked for the kind of each entry.
pfa_status read_next(vek_file *directory, vek_file *entry, const pfa_dir_filter *filter,
                     void *argument) {
    if (!is_directory_record(directory) || !pfa_is_valid(entry)) {
        return PFA_E_NOT_VALID;
    }
    if (!pfa_file_is_open(directory)) {
        return PFA_E_INACTIVE;
    }
    if (pfa_file_is_open(entry)) {
        return PFA_E_NOT_ALLOWED;
    }
    const pfa_status status = pfa_status(pfaloc_call_FLPPPI(
        directory, PfaDirReadNext, entry, filter, argument, filter != nullptr ? 1 : 0));
    if (status != PFA_E_NO_ERROR) {
        return status;
    }
    entry->type = OBJ_TYPE_NOT_YET;
    return pfa_copy_location(directory, entry) == PFA_E_NO_ERROR ? PFA_E_NO_ERROR
                                                                 : PFA_E_INVALID_NAME;
}

} // namespace

pfa_status pfa_open_dir(vek_file *directory) {
    return pfa_open_dir_subset(directory, nullptr);
}

pfa_status pfa_open_dir_subset(vek_file *directory, const char *subset) {
    char key[PFA_PATH_SIZE];
    const pfa_status ready = prepare_to_open(directory, key);
    if (ready != PFA_E_NO_ERROR) {
        return ready;
    }
    if (subset != nullptr && pfaloc_call_F(directory, PfaDirCanOpenSubset) != 0) {
        subset = nullptr;
    }
    vek_file *donor = nullptr;
    const bool from_cache = pfa_dir_from_cache(key, &donor, nullptr, 0, directory, 0) != 0;
    if (donor != nullptr) {
        borrow_listing(directory, donor);
    }
    trace_opening(key, subset, from_cache);
    const pfa_status status = pfa_status(pfaloc_call_FLPP(directory, PfaDirOpen, key, subset));
    const bool accepted = status == PFA_E_NO_ERROR || status == PFA_E_NOT_CACHABLE;
    if (!accepted || directory->location_handle == nullptr) {
        if (donor != nullptr) {
            undo_loan(directory, donor);
        }
        return accepted ? PFA_E_ERROR : status;
    }
    directory->flags |= PFA_F_OPEN;
    if (!from_cache && subset == nullptr) {
        pfa_add_dir_to_cache(key, directory, status);
    }
    return PFA_E_NO_ERROR;
}

pfa_status pfa_read_dir(vek_file *directory, vek_file *entry) {
    return read_next(directory, entry, nullptr, nullptr);
}

pfa_status pfa_read_dir_and_kind(vek_file *directory, vek_file *entry, int *kind) {
    static constexpr pfa_dir_filter TAKE_AND_TELL = {
        nullptr, [](vek_file *, const char *, int answer, void *argument) {
            *static_cast<int *>(argument) = answer;
            return 0;
        }};
    return read_next(directory, entry, &TAKE_AND_TELL, kind);
}

pfa_status pfa_close_dir(vek_file *directory) {
    char key[PFA_PATH_SIZE];
    if (pfa_get_location(directory, key, nullptr) != PFA_E_NO_ERROR) {
        key[0] = '\0';
    }
    if ((directory->flags & PFA_F_BORROWED) != 0) {
        pfa_return_dir_to_cache(key, directory);
    } else if ((directory->flags & PFA_F_LENT) != 0) {
        dbg_err_crash("pfa_close", "can't close %s with borrowed stream", key);
        return PFA_E_NO_ACCESS;
    } else {
        pfaloc_call_FL(directory, PfaDirClose);
    }
    directory->flags &= ~PFA_F_OPEN;
    directory->location_handle = nullptr;
    return PFA_E_NO_ERROR;
}
