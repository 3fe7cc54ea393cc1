// Writing a path record: its plain fields, its directory path and its location.
#include "coretools/ctpfa/pfaput.h"

#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/path_text.h"
#include "coretools/ctpfa/pfa_std_location.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfarecord_internal.h"
#include "coretools/genutil1/invstr.h"

#include <cstdint>
#include <cstring>

namespace {

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
    path_text stored;
    if (!path_to_stored(path, &stored)) {
        return PFA_E_INVALID_INPUT;
    }
    return pfa_all_or_nothing(record, [&] {
        if (record->location_type == NoLocation) {
            record->location_type = PFA_DEFAULT_LOCATION;
        }
        const int index = pfa_role_index(record, PfaPathIdx);
        return index == -1 ? PFA_E_NOT_VALID : pfa_put_text(record, index, stored.view());
    });
}

pfa_status pfa_put_name(vek_file *record, const char *name) {
    if (pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    if (name == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    const std::string_view text(name, strnlen(name, PFA_PATH_SIZE));
    const bool irregular = text.size() >= PFA_SHORT_NAME_SIZE || is_invalid_name(text);
    const pfa_status result = pfa_put_text(record, PFA_NAME, text);
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
    return pfa_all_or_nothing(record, [&] {
        for (int index = PFA_HOST; index <= PFA_PATH; ++index) {
            (void)pfa_put_text(record, index, {});
        }
        return pfa_parse_location(record, text, nullptr, only_type);
    });
}
