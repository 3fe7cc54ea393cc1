// Splits a name into location, name, extension and version.
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfa/pfarecord_internal.h"
#include "coretools/genutil1/invstr.h"

#include <charconv>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace {

// The parts of a name without its location.
struct name_parts {
    std::string_view name;
    std::string_view extension;
    int version = 0;
};

bool read_version(std::string_view text, int *version) {
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, *version);
    return !text.starts_with('0') && error == std::errc() && stop == end && *version >= INT16_MIN &&
           *version <= INT16_MAX;
}

// Cuts the last '.' and what follows off *name, and returns that without the '.'. Empty, and
// nothing is cut, if the '.' is the first or last character or `is_wanted` is false for what
// follows.
template <class Predicate>
std::string_view cut_suffix(std::string_view *name, Predicate is_wanted) {
    const std::size_t dot = name->rfind('.');
    if (dot == name->npos || dot == 0 || dot + 1 == name->size()) {
        return {};
    }
    const std::string_view suffix = name->substr(dot + 1);
    if (!is_wanted(suffix)) {
        return {};
    }
    *name = name->substr(0, dot);
    return suffix;
}

name_parts split_name(std::string_view name) {
    name_parts parts = {name, {}, 0};
    if (name.starts_with('.')) {
        return parts;
    }
    int version = 0;
    // "-03" is read, but would be written as "-3": in a name it does not count as a version.
    // is_vers_string() takes it, since the search for versions only compares the number.
    const auto is_version = [&version](std::string_view text) {
        return !text.starts_with("-0") && read_version(text, &version);
    };
    if (!cut_suffix(&parts.name, is_version).empty()) {
        parts.version = version;
    }
    parts.extension = cut_suffix(&parts.name, [](std::string_view) { return true; });
    return parts;
}

// Returns what the type looks like from the name alone. Only a text that is all location is a
// directory.
int guess_type(const name_parts &parts) {
    if (parts.extension.empty()) {
        return OBJ_TYPE_NO_MEMBER;
    }
    char extension[PFA_PATH_SIZE];
    parts.extension.copy(extension, parts.extension.size());
    extension[parts.extension.size()] = '\0';
    const int type = extension_to_type(extension);
    const auto length = static_cast<int>(parts.name.size());
    // Provisional: a name of exactly the limit passes here; the standard form, which decides,
    // refuses it (pfa_put_extension_to_type).
    const bool too_long = length >= PFA_SHORT_NAME_SIZE && length > type_to_name_length(type);
    return type == OBJ_TYPE_UNKNOWN_EXTENSION || type == OBJ_TYPE_DIRECTORY || too_long ||
                   (is_invalid_name(parts.name) && type_to_weird_chars_OK(type) == 0)
               ? OBJ_TYPE_NO_MEMBER
               : type;
}

// Fills a cleared record from `text`, which has `length` characters.
pfa_status split(vek_file *record, int parse_location, const char *text, std::size_t length) {
    std::int16_t rest = 0;
    if (parse_location != 0) {
        const pfa_status result = pfa_parse_location(record, text, &rest, PFA_ALL_LOCATIONS);
        if (result != PFA_E_NO_ERROR) {
            return result;
        }
        if (rest < 0 || static_cast<std::size_t>(rest) > length) {
            return PFA_E_ERROR; // what the location type stored is no place in the text
        }
    }
    const std::string_view name =
        std::string_view(text, length).substr(static_cast<std::size_t>(rest));
    if (name.empty()) {
        return pfa_put_obj_type(record, OBJ_TYPE_DIRECTORY);
    }
    const name_parts parts = split_name(name);
    pfa_status result = pfa_put_text(record, PFA_NAME, parts.name);
    if (result == PFA_E_NO_ERROR) {
        result = pfa_put_text(record, PFA_EXTENSION, parts.extension);
    }
    record->type = static_cast<std::int16_t>(guess_type(parts));
    record->version = static_cast<std::int16_t>(parts.version);
    return result;
}

} // namespace

pfa_status parse_to_pfa(vek_file *record, int parse_location, const char *text) {
    if (pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    const std::size_t length = text != nullptr ? strnlen(text, PFA_PATH_SIZE) : PFA_PATH_SIZE;
    if (length == PFA_PATH_SIZE) {
        return PFA_E_INVALID_INPUT;
    }
    // The text may be the record's own.
    char copy[PFA_PATH_SIZE];
    std::memcpy(copy, text, length + 1);
    return pfa_all_or_nothing(record, [&] {
        record->text[0] = '\0';
        for (pfa_bounds &bounds : record->bounds) {
            bounds = {0, 0};
        }
        record->version = 0;
        record->type = OBJ_TYPE_NOT_YET;
        return split(record, parse_location, copy, length);
    });
}

int is_vers_string(const char *text) {
    int version = 0;
    return text != nullptr && read_version(text, &version) ? 1 : 0;
}
