// Splits a name into location, name, extension and version.
#include "coretools/ctfileutil/objextension.h"
#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfaput.h"
#include "coretools/ctpfa/pfarecord_internal.h"
#include "coretools/ctstrutil/ascii.h"
#include "coretools/genutil1/invstr.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

// Cuts the '.' and the version off the end of name and answers the version, 0 when there is none. A
// number that starts with 0 is no version, with or without a sign.
std::int16_t cut_version(char *name) {
    char *dot = std::strrchr(name, '.');
    if (dot == nullptr || dot == name) {
        return 0;
    }
    const char *number = dot + 1;
    if (is_vers_string(number) == 0 || number[number[0] == '-' ? 1 : 0] == '0') {
        return 0;
    }
    *dot = '\0';
    return static_cast<std::int16_t>(std::strtol(number, nullptr, 10));
}

// Cuts the last '.' and the extension after it off name and answers the extension. Empty, and
// nothing cut, when the '.' is the first or the last character.
const char *cut_extension(char *name) {
    char *dot = std::strrchr(name, '.');
    if (dot == nullptr || dot == name || dot[1] == '\0') {
        return "";
    }
    *dot = '\0';
    return dot + 1;
}

// What the type looks like from the name alone. Only a text that is all location is a directory.
int guess_type(const char *name, const char *extension) {
    if (extension[0] == '\0') {
        return OBJ_TYPE_NO_MEMBER;
    }
    const int type = extension_to_type(extension);
    if (type == OBJ_TYPE_UNKNOWN_EXTENSION || type == OBJ_TYPE_DIRECTORY) {
        return OBJ_TYPE_NO_MEMBER;
    }
    const int length = static_cast<int>(std::strlen(name));
    if (length >= PFA_SHORT_NAME_SIZE && length > type_to_name_length(type)) {
        return OBJ_TYPE_NO_MEMBER;
    }
    return is_invalid_name(name) && type_to_weird_chars_OK(type) == 0 ? OBJ_TYPE_NO_MEMBER : type;
}

// Fills a cleared record from text, a copy that is cut up on the way.
pfa_status split(vek_file *record, int parse_location, char *text, int length) {
    std::int16_t rest = 0;
    if (parse_location != 0) {
        const pfa_status result = pfa_parse_location(record, text, &rest, -1);
        if (result != PFA_E_NO_ERROR) {
            return result;
        }
        if (rest < 0 || rest > length) {
            return PFA_E_ERROR;
        }
    }
    char *name = text + rest;
    if (name[0] == '\0') {
        return pfa_put_obj_type(record, OBJ_TYPE_DIRECTORY);
    }
    std::int16_t version = 0;
    const char *extension = "";
    if (name[0] != '.') {
        version = cut_version(name);
        extension = cut_extension(name);
    }
    pfa_status result = pfa_put_component(record, PFA_NAME, name);
    if (result == PFA_E_NO_ERROR) {
        result = pfa_put_component(record, PFA_EXTENSION, extension);
    }
    record->type = static_cast<std::int16_t>(guess_type(name, extension));
    record->version = version;
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
        return split(record, parse_location, copy, static_cast<int>(length));
    });
}

int is_vers_string(const char *text) {
    if (text == nullptr) {
        return 0;
    }
    const bool negative = text[0] == '-';
    const char *digits = negative ? text + 1 : text;
    if (!is_digit(digits[0]) || (digits[0] == '0' && !negative)) {
        return 0;
    }
    for (const char *at = digits; *at != '\0'; ++at) {
        if (!is_digit(*at)) {
            return 0;
        }
    }
    const long number = std::strtol(text, nullptr, 10);
    return number >= INT16_MIN && number <= INT16_MAX ? 1 : 0;
}
