// Parses a name into a path record, and finds its object type: the standard form.
#include "coretools/ctpfa/pfapars.h"

#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfa_entry_kind.h"
#include "coretools/ctpfa/pfa_std_location.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfacurdir.h"
#include "coretools/ctpfa/pfapars_internal.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfa/pfarecord_internal.h"
#include "coretools/genutil1/invstr.h"

#include <cstring>
#include <string_view>

namespace {

pfa_status expand_and_parse(vek_file *record, const vek_file *base, const char *text,
                            int directory) {
    char with_values[PFA_PATH_SIZE];
    if (std::strchr(text, '$') != nullptr) {
        if (substitute_env_vars(text, with_values, PFA_PATH_SIZE) != PFA_E_NO_ERROR) {
            return PFA_E_INVALID_INPUT;
        }
        text = with_values;
    }
    char with_home[PFA_PATH_SIZE];
    if (text[0] == '~') {
        const pfa_status expanded = substitute_unix_home_dir(text, with_home, PFA_PATH_SIZE);
        if (expanded != PFA_E_NO_ERROR) {
            return expanded;
        }
        text = with_home;
    }
    pfa_status result = parse_to_pfa(record, 1, text);
    if (result != PFA_E_NO_ERROR) {
        return result;
    }
    if (pfa_has_location(base, nullptr) != 0 && pfa_path_is_absolute(record) == 0 &&
        pfafs_loc_is_NT_drive_relative(record) == 0) {
        result = pfa_concat_locations(base, record, record);
        if (result != PFA_E_NO_ERROR) {
            return result;
        }
    }
    if (record->type == OBJ_TYPE_DIRECTORY && pfa_has_component(record, PFA_NAME) == 0) {
        return PFA_E_NO_ERROR;
    }
    record->type = OBJ_TYPE_NOT_YET;
    return pfa_to_standard_form_private(record, directory);
}

// Types a record whose type is not known yet.
pfa_status find_type(vek_file *record, int directory) {
    const std::string_view name = pfa_component_text(record, PFA_NAME);
    const bool invalid = name.starts_with('.') || is_invalid_name(name);
    const pfa_status result =
        pfa_put_extension_to_type(record, static_cast<int>(name.size()), invalid ? 1 : 0);
    if (result != PFA_E_NO_ERROR || directory == PFA_NO_DIRECTORY || pfa_is_local(record) == 0) {
        return result;
    }
    if (directory != PFA_DIRECTORY) {
        const auto kind = pfa_status(pfaloc_call_F(record, PfaIsFolder));
        if (kind != PFA_E_EXIST) {
            return kind == PFA_E_OUT_OF_MEMORY ? kind : PFA_E_NO_ERROR;
        }
    }
    return pfa_put_obj_type(record, OBJ_TYPE_DIRECTORY);
}

} // namespace

pfa_status pfa_parse_to_vek_file(vek_file *record, const char *text) {
    return pfa_parse_to_vek_file_private(record, nullptr, text, PFA_ASK_LOCATION);
}

pfa_status pfa_parse_to_vek_file_private(vek_file *record, const vek_file *base, const char *text,
                                         int directory) {
    if (pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    if (record == pfa_get_cur_dir() || text == nullptr ||
        strnlen(text, PFA_PATH_SIZE) == PFA_PATH_SIZE) {
        return PFA_E_INVALID_INPUT;
    }
    vek_file base_copy;
    if (base == record) {
        base_copy = *base;
        base = &base_copy;
    }
    return pfa_all_or_nothing(record,
                              [&] { return expand_and_parse(record, base, text, directory); });
}

pfa_status pfa_to_standard_form(vek_file *record) {
    return pfa_to_standard_form_private(record, PFA_ASK_LOCATION);
}

pfa_status pfa_to_standard_form_private(vek_file *record, int directory) {
    if (pfa_is_valid(record) == 0 || record->type != OBJ_TYPE_NOT_YET) {
        return PFA_E_NOT_VALID;
    }
    const pfa_status result = find_type(record, directory);
    if (result != PFA_E_NO_ERROR) {
        record->type = OBJ_TYPE_NOT_YET;
    }
    return result;
}
