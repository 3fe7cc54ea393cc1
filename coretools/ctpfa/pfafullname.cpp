// Writes names: the full name of a path record, or selected parts of it.
#include "coretools/ctpfa/pfafullname.h"

#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfarecord_internal.h"
#include "coretools/genutil1/bounded_text.h"

#include <charconv>
#include <cstring>

namespace {

constexpr int INCLUDE_ALL = PFA_INCLUDE_LOCATION | PFA_NAME_AND_VERSION;

using name_text = bounded_text<PFA_PATH_SIZE>;

// Those of host, device and path that `include` asks for, as the location type writes them. A type
// that writes none has none.
pfa_status append_location(const vek_file *record, int include, name_text *name) {
    if ((include & PFA_INCLUDE_LOCATION) == 0) {
        return PFA_E_NO_ERROR;
    }
    vek_file copy;
    const vek_file *source = record;
    const auto drop_unless = [&](int flag, auto method) {
        const int index = (include & flag) == 0 ? pfa_role_index(record, method) : -1;
        if (pfa_has_component(record, index) != 0) {
            if (source == record) {
                copy = *record;
                source = &copy;
            }
            (void)pfa_put_text(&copy, index, {});
        }
    };
    drop_unless(PFA_INCLUDE_HOST, PfaHostIdx);
    drop_unless(PFA_INCLUDE_DEVICE, PfaDeviceIdx);
    drop_unless(PFA_INCLUDE_PATH, PfaPathIdx);
    const pfa_status result = pfa_get_location(source, name->data(), nullptr);
    name->set_size(std::strlen(name->c_str()));
    return result == PFA_E_NO_METHOD ? PFA_E_NO_ERROR : result;
}

bool append_component(const vek_file *record, int index, bool lower, name_text *name) {
    const std::string_view text = pfa_component_text(record, index);
    const std::size_t start = name->size();
    if (!name->append(text)) {
        return false;
    }
    if (lower) {
        pfa_substring_to_lower(name->data(), static_cast<int>(start),
                               static_cast<int>(name->size()));
    }
    return true;
}

bool append_version(int version, name_text *name) {
    char digits[8];
    const char *end = std::to_chars(digits, digits + sizeof digits, version).ptr;
    return name->append('.') && name->append({digits, static_cast<std::size_t>(end - digits)});
}

// Name, extension and version. Without its name a record stands for its directory.
bool append_file(const vek_file *record, int include, bool lower, name_text *name) {
    const bool directory = record->type == OBJ_TYPE_DIRECTORY || (include & PFA_INCLUDE_NAME) == 0;
    if (directory && name->empty() && !name->append("./")) {
        return false;
    }
    if ((include & PFA_INCLUDE_NAME) != 0 && !append_component(record, PFA_NAME, lower, name)) {
        return false;
    }
    if (!directory && (include & PFA_INCLUDE_EXTENSION) != 0 &&
        pfa_has_component(record, PFA_EXTENSION) != 0 &&
        !(name->append('.') && append_component(record, PFA_EXTENSION, lower, name))) {
        return false;
    }
    return (include & PFA_INCLUDE_VERSION) == 0 || record->version == 0 ||
           append_version(record->version, name);
}

pfa_status write_parts(const vek_file *record, int include, bool lower, char *out) {
    name_text name;
    const pfa_status result = append_location(record, include, &name);
    if (result != PFA_E_NO_ERROR) {
        return result;
    }
    if (!append_file(record, include, lower, &name)) {
        return PFA_E_ERROR;
    }
    name.copy_to(out);
    return PFA_E_NO_ERROR;
}

} // namespace

int pfa_no_mixed_case(const vek_file *record) {
    return pfa_is_valid(record) == 0 || type_to_mixed_case_OK(record->type) == 0 ? 1 : 0;
}

pfa_status pfa_get_full_name(const vek_file *record, char *out) {
    return pfa_get_full_name_mixed_case(record, out, pfa_no_mixed_case(record));
}

pfa_status pfa_get_full_name_mixed_case(const vek_file *record, char *out, int lower) {
    if (out == nullptr || pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    out[0] = '\0';
    return write_parts(record, INCLUDE_ALL, lower != 0, out);
}

pfa_status pfa_get_file_name(const vek_file *record, int include, char *out) {
    return pfa_get_file_name_mixed_case(record, include, out, pfa_no_mixed_case(record));
}

pfa_status pfa_get_file_name_mixed_case(const vek_file *record, int include, char *out, int lower) {
    if (out == nullptr || pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    out[0] = '\0';
    if ((include & PFA_INCLUDE_PATH) == 0 && pfa_has_component(record, PFA_NAME) == 0) {
        return pfa_get_name(record, out);
    }
    // Only the standard filesystem is known to write each part of a location without the others.
    const int location = include & PFA_INCLUDE_LOCATION;
    if (record->location_type != PfaStdFilesystem && location != 0 &&
        location != PFA_INCLUDE_LOCATION) {
        return PFA_E_INVALID_INPUT;
    }
    return write_parts(record, include, lower != 0, out);
}

bool pfa_is_named(const vek_file *record, const char *name) {
    char written[PFA_PATH_SIZE];
    return pfa_get_file_name_mixed_case(record, PFA_OS_NAME, written, 0) == PFA_E_NO_ERROR &&
           std::strcmp(written, name) == 0;
}
