// The versions of a file: a search of its directory for the names it may have.
#include "coretools/ctpfa/pfavers.h"

#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfa_dir_filter.h"
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfarecord_internal.h"
#include "coretools/ctpfa/pfastream.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <strings.h>

namespace {

// True for IGS, SET, VDA and DXF files, which other systems write. Their codes are consecutive.
constexpr bool is_exchange_type(int type) {
    constexpr int IGS = 134, DXF = 137;
    return type >= IGS && type <= DXF;
}

constexpr int NO_FILE = -1; // a maximum of no version at all

// What a walk over a directory has found of a name: the highest version of an entry that is the
// name exactly, and of one that differs from it only in case. 0 is a file without version.
struct found_versions {
    const char *name;
    std::size_t name_length;
    int exact;
    int other_case;
};

void take_max_vers(int *maximum, int version) {
    *maximum = std::max(*maximum, version);
}

// Looks at every entry and passes over it, so that one read runs through the whole directory.
int vers_filter(vek_file *, const char *entry, void *argument) {
    found_versions *found = static_cast<found_versions *>(argument);
    if (strncasecmp(entry, found->name, found->name_length) != 0) {
        return 1;
    }
    const char *rest = entry + found->name_length;
    int version = 0;
    if (rest[0] != '\0') {
        if (rest[0] != '.' || is_vers_string(rest + 1) == 0) {
            return 1;
        }
        version = static_cast<int>(std::strtol(rest + 1, nullptr, 10));
    }
    const bool exact = std::strncmp(entry, found->name, found->name_length) == 0;
    take_max_vers(exact ? &found->exact : &found->other_case, version);
    return 1;
}

pfa_status pfa_search_file_versions(vek_file *directory, found_versions *found) {
    const pfa_dir_filter filter = {vers_filter, nullptr};
    const pfa_status result =
        pfa_status(pfaloc_call_FLPPPI(directory, PfaDirReadNext, nullptr, &filter, found, 0));
    if (result == PFA_E_QUIT) {
        return PFA_E_NO_ERROR;
    }
    return result > 0 ? result : PFA_E_ERROR;
}

// True if names of this type, or in this location, are the same in either case.
bool ignores_case(vek_file *directory, int type) {
    return type == OBJ_TYPE_NO_MEMBER || is_exchange_type(type) ||
           pfaloc_call_F(directory, PfaCaseSensitiveLoc) == 0;
}

pfa_status pfa_get_file_vers_low(vek_file *directory, const char *name, int selector, int *version,
                                 int type) {
    const pfa_status opened = pfa_open_dir_subset(directory, name);
    if (opened != PFA_E_NO_ERROR) {
        return opened == PFA_E_OUT_OF_MEMORY ? opened : PFA_E_NO_ACCESS;
    }
    found_versions found = {name, std::strlen(name), NO_FILE, NO_FILE};
    pfa_status result = pfa_search_file_versions(directory, &found);
    int highest = found.exact;
    if (found.other_case > highest && ignores_case(directory, type)) {
        highest = found.other_case;
    }
    (void)pfa_close(directory);
    if (result == PFA_E_NO_ERROR && selector == PFA_LATEST_VERSION && highest == NO_FILE) {
        result = PFA_E_NOT_FOUND;
    }
    if (result != PFA_E_NO_ERROR) {
        return result;
    }
    if (selector == PFA_LATEST_VERSION) {
        *version = highest;
    } else if (highest == NO_FILE) {
        *version = 1;
    } else {
        *version = std::max(highest, 1) + 1; // a file without a version stands for the first
    }
    return PFA_E_NO_ERROR;
}

} // namespace

pfa_status pfa_get_file_vers(const vek_file *record, int selector, int *version) {
    if (pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    if (version == nullptr || selector < PFA_OWN_VERSION || selector > PFA_NEXT_VERSION) {
        return PFA_E_INVALID_INPUT;
    }
    if (selector == PFA_OWN_VERSION) {
        *version = record->version;
        return PFA_E_NO_ERROR;
    }
    char name[PFA_PATH_SIZE];
    vek_file directory;
    pfa_init_vek_file(&directory);
    pfa_status result = pfa_get_file_name(record, PFA_NAME_AND_EXTENSION, name);
    if (result == PFA_E_NO_ERROR) {
        result = pfa_copy_directory(record, &directory);
    }
    return result == PFA_E_NO_ERROR
               ? pfa_get_file_vers_low(&directory, name, selector, version, record->type)
               : result;
}
