// Setting the object type of a path record: what it does to name, extension and directory path.
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/path_text.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfadirpath.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfa/pfarecord_internal.h"

namespace {

pfa_status put_extension_of_type(vek_file *record, int type, int lower) {
    const pfa_status result = pfa_put_component(record, PFA_EXTENSION, type_to_extension(type));
    if (result == PFA_E_NO_ERROR && lower != 0) {
        const pfa_bounds bounds = record->bounds[PFA_EXTENSION];
        pfa_substring_to_lower(record->text, bounds.start, bounds.end);
    }
    return result;
}

// Name, extension and version become the last element of the directory path. A failure may
// leave the record between the two forms.
pfa_status turn_into_directory(vek_file *record) {
    char element[PFA_PATH_SIZE];
    pfa_status result = pfa_get_file_name(record, PFA_NAME_AND_VERSION, element);
    if (result != PFA_E_NO_ERROR) {
        return result;
    }
    (void)pfa_put_text(record, PFA_NAME, {});
    (void)pfa_put_text(record, PFA_EXTENSION, {});
    record->type = OBJ_TYPE_DIRECTORY;
    record->version = 0;
    if (element[0] != '\0') {
        result = pfa_make_subdir(record, element, record);
    }
    // DIR stays in the upper case of the table.
    return result == PFA_E_NO_ERROR ? put_extension_of_type(record, OBJ_TYPE_DIRECTORY, 0) : result;
}

// The last element of the directory path becomes the name, unless it is too long for a name of the
// type that the record is about to get.
pfa_status turn_back_into_file(vek_file *record, int type) {
    const int index = pfa_role_index(record, PfaPathIdx);
    if (index == -1) {
        return PFA_E_NO_ERROR;
    }
    const vek_file before = *record;
    const std::string_view path = pfa_component_text(&before, index);
    const std::string_view element = last_element(path);
    const bool fits = element.size() < PFA_SHORT_NAME_SIZE || type == OBJ_TYPE_NO_MEMBER ||
                      type == OBJ_TYPE_NOT_YET;
    if (element.empty() || !fits) {
        return PFA_E_NO_ERROR;
    }
    const pfa_status result = pfa_put_text(
        record, index, path.substr(0, static_cast<std::size_t>(element.data() - path.data())));
    return result == PFA_E_NO_ERROR ? pfa_put_text(record, PFA_NAME, element) : result;
}

pfa_status change_type(vek_file *record, int type, int lower) {
    if (type == OBJ_TYPE_DIRECTORY) {
        return turn_into_directory(record);
    }
    const bool untyped_directory = type == OBJ_TYPE_NOT_YET && record->type == OBJ_TYPE_DIRECTORY;
    if (type_to_extension(type)[0] == '\0' && !untyped_directory) {
        return PFA_E_INVALID_INPUT;
    }
    if (record->type == OBJ_TYPE_DIRECTORY) {
        const pfa_status result = turn_back_into_file(record, type);
        if (result != PFA_E_NO_ERROR) {
            return result;
        }
    }
    const pfa_status result = put_extension_of_type(record, type, lower);
    if (result == PFA_E_NO_ERROR) {
        record->type = static_cast<std::int16_t>(type);
    }
    return result;
}

} // namespace

pfa_status pfa_put_obj_type(vek_file *record, int type) {
    return pfa_put_obj_type_lower(record, type, 1);
}

pfa_status pfa_put_obj_type_lower(vek_file *record, int type, int lower) {
    if (pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    if (type == record->type) {
        return PFA_E_NO_ERROR;
    }
    if (type == OBJ_TYPE_NO_MEMBER ||
        (type == OBJ_TYPE_NOT_YET && record->type == OBJ_TYPE_NO_MEMBER)) {
        record->type = static_cast<std::int16_t>(type);
        return PFA_E_NO_ERROR;
    }
    return pfa_all_or_nothing(record, [&] { return change_type(record, type, lower); });
}

pfa_status pfa_put_extension_to_type(vek_file *record, int name_length, int name_invalid) {
    if (pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    if (pfa_has_component(record, PFA_EXTENSION) == 0) {
        record->type = OBJ_TYPE_NO_MEMBER;
        return PFA_E_NO_ERROR;
    }
    char extension[PFA_PATH_SIZE];
    (void)pfa_get_component(record, PFA_EXTENSION, extension, PFA_PATH_SIZE);
    const int type = extension_to_type(extension);
    // A plain file with the extension of directories is no member.
    if (type == OBJ_TYPE_DIRECTORY ||
        (name_length >= PFA_SHORT_NAME_SIZE && name_length >= type_to_name_length(type)) ||
        (name_invalid != 0 && type_to_weird_chars_OK(type) == 0)) {
        record->type = OBJ_TYPE_NO_MEMBER;
        return PFA_E_NO_ERROR;
    }
    const int known = type == OBJ_TYPE_UNKNOWN_EXTENSION ? OBJ_TYPE_NO_MEMBER : type;
    if (record->type == OBJ_TYPE_DIRECTORY) {
        const pfa_status result = turn_back_into_file(record, known);
        if (result != PFA_E_NO_ERROR) {
            return result;
        }
    }
    record->type = static_cast<std::int16_t>(known);
    return PFA_E_NO_ERROR;
}
