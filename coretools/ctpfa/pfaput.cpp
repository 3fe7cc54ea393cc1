// Writing a path record: its plain fields, its directory path and its location.
#include "coretools/ctpfa/pfaput.h"

#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfaloc_call.h"
#include "coretools/ctwcfun/wstr_ret.h"
#include "coretools/genutil1/invstr.h"

#include <cstdint>
#include <cstring>

namespace {

bool is_separator(char character) {
    return character == '/' || character == '\\';
}

// The stored form of a path of fewer than PFA_PATH_SIZE characters; answers its length, which the
// closing separator may make one longer.
int normalise(const char *path, char (&out)[PFA_PATH_SIZE + 1]) {
    int length = 0;
    while (*path != '\0') {
        // At the start of a segment.
        if (path[0] == '.' && is_separator(path[1])) {
            path += 2;
            // A path that starts with "./" stays relative.
            while (length == 0 && is_separator(*path)) {
                ++path;
            }
            continue;
        }
        if (path[0] == '.' && path[1] == '.' && is_separator(path[2])) {
            out[length++] = '^';
            out[length++] = '/';
            path += 3;
            continue;
        }
        while (*path != '\0' && !is_separator(*path)) {
            out[length++] = *path++;
        }
        if (*path != '\0') {
            out[length++] = '/';
            path++;
        }
    }
    if (length > 0 && out[length - 1] != '/') {
        out[length++] = '/';
    }
    return length;
}

pfa_status put_int16(vek_file *record, std::int16_t vek_file::*field, int value) {
    if (pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    if (value < INT16_MIN || value > INT16_MAX) {
        return PFA_E_INVALID_INPUT;
    }
    record->*field = static_cast<std::int16_t>(value);
    return PFA_E_NO_ERROR;
}

} // namespace

pfa_status pfa_put_path(vek_file *record, const char *path) {
    if (pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    if (path == nullptr || strnlen(path, PFA_PATH_SIZE) == PFA_PATH_SIZE) {
        return PFA_E_INVALID_INPUT;
    }
    char normal[PFA_PATH_SIZE + 1];
    const int length = normalise(path, normal);
    const std::int32_t location_type = record->location_type;
    if (location_type == NoLocation) {
        record->location_type = PfaStdFilesystem;
    }
    const int index = pfaloc_call_F(record, PfaPathIdx);
    const pfa_status result = index < PFA_HOST || index > PFA_PATH
                                  ? PFA_E_NOT_VALID
                                  : pfa_put_component_len(record, index, normal, length);
    if (result != PFA_E_NO_ERROR) {
        record->location_type = location_type;
    }
    return result;
}

pfa_status pfa_put_name(vek_file *record, const char *name) {
    if (pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    if (name == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    const int length = static_cast<int>(strnlen(name, PFA_PATH_SIZE));
    bool irregular = length >= PFA_SHORT_NAME_SIZE;
    if (!irregular) {
        const vek_wchar *wide = wstr_ret(name);
        if (wide == nullptr) {
            return PFA_E_OUT_OF_MEMORY;
        }
        irregular = invalid_string(wide) != 0;
    }
    const pfa_status result = pfa_put_component_len(record, PFA_NAME, name, length);
    if (result == PFA_E_NO_ERROR && irregular) {
        record->type = OBJ_TYPE_NO_MEMBER;
    }
    return result;
}

pfa_status pfa_put_version(vek_file *record, int version) {
    return put_int16(record, &vek_file::version, version);
}

pfa_status pfa_put_encode(vek_file *record, int encode) {
    if (pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    if (record->type == OBJ_TYPE_DIRECTORY) {
        return PFA_E_INVALID_INPUT;
    }
    record->encode = static_cast<std::uint32_t>(encode);
    return PFA_E_NO_ERROR;
}

pfa_status pfa_put_location_datum(vek_file *record, int datum) {
    return put_int16(record, &vek_file::location_datum, datum);
}

pfa_status pfa_put_location(vek_file *record, const char *text, int only_type) {
    if (pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    const vek_file before = *record;
    for (int index = PFA_HOST; index <= PFA_PATH; ++index) {
        (void)pfa_put_component_len(record, index, "", 0);
    }
    const pfa_status result = pfa_parse_location(record, text, nullptr, only_type);
    if (result != PFA_E_NO_ERROR) {
        *record = before;
    }
    return result;
}
