// Names from a path record: the full name, or selected parts of it.
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfaloc_call.h"
#include "coretools/ctpfa/pfapars.h"

#include <cstdio>

namespace {

constexpr int INCLUDE_ALL = PFA_INCLUDE_LOCATION | PFA_NAME_AND_VERSION;

// The parts of a name, as pfa_include has them, go through these one by one. A part that doesn't
// fit answers PFA_E_ERROR.

pfa_status append_text(const char *text, char *out, std::int16_t *length) {
    return pfa_strcat(text, out, length) != 0 ? PFA_E_NO_ERROR : PFA_E_ERROR;
}

// Host, device and path: what the location type writes for a record that has only those asked for.
pfa_status append_location(vek_file *record, int include, char *out, std::int16_t *length) {
    if ((include & PFA_INCLUDE_LOCATION) == 0) {
        return PFA_E_NO_ERROR;
    }
    vek_file copy;
    vek_file *source = record;
    if ((include & PFA_INCLUDE_LOCATION) != PFA_INCLUDE_LOCATION) {
        int host = -1;
        int device = -1;
        int path = -1;
        (void)pfa_get_component_mapping(record, &host, &device, &path);
        const struct {
            int index;
            int flag;
        } roles[] = {
            {host, PFA_INCLUDE_HOST}, {device, PFA_INCLUDE_DEVICE}, {path, PFA_INCLUDE_PATH}};
        for (const auto &role : roles) {
            if ((include & role.flag) == 0 && pfa_has_component(record, role.index) != 0) {
                if (source == record) {
                    copy = *record;
                    source = &copy;
                }
                (void)pfa_put_component_len(&copy, role.index, "", 0);
            }
        }
    }
    // A record of a type that writes no location has none to show.
    const pfa_status result =
        pfa_status(pfaloc_call_FPPS(source, PfaGetLocationString, out, length, PFA_PATH_SIZE));
    return result == PFA_E_NO_METHOD ? PFA_E_NO_ERROR : result;
}

pfa_status append_extension(const vek_file *record, char *out, std::int16_t *length, int lower) {
    if (pfa_has_component(record, PFA_EXTENSION) == 0) {
        return PFA_E_NO_ERROR;
    }
    const pfa_status result = append_text(".", out, length);
    return result == PFA_E_NO_ERROR ? pfa_append_component_lower(record, PFA_EXTENSION, out, length,
                                                                 PFA_PATH_SIZE, lower)
                                    : result;
}

pfa_status append_version(const vek_file *record, char *out, std::int16_t *length) {
    if (record->version == 0) {
        return PFA_E_NO_ERROR;
    }
    char version[16];
    std::snprintf(version, sizeof version, "%c%d", '.', record->version);
    return append_text(version, out, length);
}

pfa_status append_parts(vek_file *record, int include, char *out, int lower) {
    std::int16_t length = 0;
    pfa_status result = append_location(record, include, out, &length);
    // Without its name a record stands for its directory.
    const bool directory = record->type == OBJ_TYPE_DIRECTORY || (include & PFA_INCLUDE_NAME) == 0;
    if (result == PFA_E_NO_ERROR && directory && length == 0) {
        result = append_text("./", out, &length);
    }
    if (result == PFA_E_NO_ERROR && (include & PFA_INCLUDE_NAME) != 0) {
        result = pfa_append_component_lower(record, PFA_NAME, out, &length, PFA_PATH_SIZE, lower);
    }
    if (result == PFA_E_NO_ERROR && !directory && (include & PFA_INCLUDE_EXTENSION) != 0) {
        result = append_extension(record, out, &length, lower);
    }
    if (result == PFA_E_NO_ERROR && (include & PFA_INCLUDE_VERSION) != 0) {
        result = append_version(record, out, &length);
    }
    return result;
}

// A name that could not be written whole is not written at all.
pfa_status write_parts(vek_file *record, int include, char *out, int lower) {
    out[0] = '\0';
    const pfa_status result = append_parts(record, include, out, lower);
    if (result != PFA_E_NO_ERROR) {
        out[0] = '\0';
    }
    return result;
}

} // namespace

int pfa_no_mixed_case(const vek_file *record) {
    if (pfa_is_valid(record) == 0) {
        return 1;
    }
    if (record->type == OBJ_TYPE_NO_MEMBER || record->type == OBJ_TYPE_NOT_YET) {
        return 0;
    }
    return type_to_mixed_case_OK(record->type) == 0 ? 1 : 0;
}

pfa_status pfa_get_full_name(vek_file *record, char *out) {
    return pfa_get_full_name_mixed_case(record, out, pfa_no_mixed_case(record));
}

pfa_status pfa_get_full_name_mixed_case(vek_file *record, char *out, int lower) {
    if (out == nullptr || pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    return write_parts(record, INCLUDE_ALL, out, lower);
}

pfa_status pfa_get_file_name(vek_file *record, int include, char *out) {
    return pfa_get_file_name_mixed_case(record, include, out, pfa_no_mixed_case(record));
}

pfa_status pfa_get_file_name_mixed_case(vek_file *record, int include, char *out, int lower) {
    if (out == nullptr || pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    out[0] = '\0';
    if ((include & PFA_INCLUDE_PATH) == 0 && pfa_has_component(record, PFA_NAME) == 0) {
        return pfa_get_name(record, out);
    }
    const int location = include & PFA_INCLUDE_LOCATION;
    if (record->location_type != PfaStdFilesystem && location != 0 &&
        location != PFA_INCLUDE_LOCATION) {
        return PFA_E_INVALID_INPUT;
    }
    return write_parts(record, include, out, lower);
}
