// The component layer: every change and every look at the text of a path record.
#include "coretools/ctpfa/pfacomponent.h"

#include "coretools/ctpfa/path_text.h"
#include "coretools/ctpfa/pfarecord_internal.h"
#include "coretools/ctstrutil/char_case.h"

#include <cstring>

#include <strings.h>

namespace {

bool is_index(int index) {
    return index >= 0 && index < PFA_COMPONENTS;
}

// The text of a component; empty for a bad record or index.
std::string_view component(const vek_file *record, int index) {
    return pfa_is_valid(record) != 0 && is_index(index) ? pfa_component_text(record, index)
                                                        : std::string_view();
}

// Replaces the text of the components first to last and moves the later ones. The bounds inside a
// range of several components are left to the caller.
pfa_status replace(vek_file *record, int first, int last, std::string_view source) {
    const int start = record->bounds[first].start;
    const int end = record->bounds[last].end;
    const int total = record->bounds[PFA_COMPONENTS - 1].end;
    const int shift = static_cast<int>(source.size()) - (end - start);
    if (total + shift >= PFA_PATH_SIZE) {
        return PFA_E_INVALID_INPUT;
    }
    std::memmove(record->text + end + shift, record->text + end,
                 static_cast<std::size_t>(total - end) + 1);
    source.copy(record->text + start, source.size()); // an empty view may have no text
    record->bounds[last].end = static_cast<std::int16_t>(end + shift);
    for (int i = last + 1; i < PFA_COMPONENTS; ++i) {
        record->bounds[i].start = static_cast<std::int16_t>(record->bounds[i].start + shift);
        record->bounds[i].end = static_cast<std::int16_t>(record->bounds[i].end + shift);
    }
    return PFA_E_NO_ERROR;
}

// A text to compare with a component: length characters, all of it for -1. A null text is empty.
std::string_view compared_text(const char *text, int length) {
    if (text == nullptr) {
        return {};
    }
    return length == -1 ? std::string_view(text)
                        : std::string_view(text, static_cast<std::size_t>(length));
}

using comparison = int (*)(const char *, const char *, std::size_t);

int compare(const vek_file *record, int index, const char *text, int length, comparison order) {
    const std::string_view mine = component(record, index);
    const std::string_view other = compared_text(text, length);
    if (mine.empty() || mine.size() != other.size()) {
        return static_cast<int>(mine.size()) - static_cast<int>(other.size());
    }
    return order(mine.data(), other.data(), mine.size());
}

pfa_status end_character(const vek_file *record, int index, bool last, char *character) {
    if (pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    const std::string_view part = component(record, index);
    if (part.empty()) {
        return PFA_E_NOT_FOUND;
    }
    if (character != nullptr) {
        *character = last ? part.back() : part.front();
    }
    return PFA_E_NO_ERROR;
}

std::string_view range(const char *text, int low, int high) {
    return {text + low, static_cast<std::size_t>(high - low)};
}

} // namespace

pfa_status pfa_put_text(vek_file *record, int index, std::string_view text) {
    return replace(record, index, index, text);
}

pfa_status pfa_put_component_len(vek_file *record, int index, const char *text, int length) {
    if (record == nullptr || text == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    if (pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    // A shorter text does not have the length that is asked for.
    if (!is_index(index) || length < 0 || length >= PFA_PATH_SIZE ||
        std::memchr(text, '\0', static_cast<std::size_t>(length)) != nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    return pfa_put_text(record, index, {text, static_cast<std::size_t>(length)});
}

pfa_status pfa_put_component(vek_file *record, int index, const char *text) {
    const std::size_t length = text != nullptr ? strnlen(text, PFA_PATH_SIZE) : 0;
    return pfa_put_component_len(record, index, text, static_cast<int>(length));
}

int pfa_component_length(const vek_file *record, int index) {
    return static_cast<int>(component(record, index).size());
}

int pfa_has_component(const vek_file *record, int index) {
    return component(record, index).empty() ? 0 : 1;
}

int pfa_has_location(const vek_file *record, int *location_type) {
    const bool valid = pfa_is_valid(record) != 0;
    if (location_type != nullptr) {
        *location_type = valid ? record->location_type : NoLocation;
    }
    return valid && record->bounds[PFA_PATH].end > 0 ? 1 : 0;
}

pfa_status pfa_component_first_char(const vek_file *record, int index, char *character) {
    return end_character(record, index, false, character);
}

pfa_status pfa_component_last_char(const vek_file *record, int index, char *character) {
    return end_character(record, index, true, character);
}

int pfa_component_strcmp(const vek_file *record, int index, const char *text, int length) {
    return compare(record, index, text, length, std::strncmp);
}

int pfa_component_u_strcmp(const vek_file *record, int index, const char *text, int length) {
    return compare(record, index, text, length, strncasecmp);
}

pfa_status pfa_copy_component(const vek_file *from, vek_file *to, int index) {
    if (pfa_is_valid(from) == 0 || pfa_is_valid(to) == 0) {
        return PFA_E_NOT_VALID;
    }
    if (!is_index(index)) {
        return PFA_E_INVALID_INPUT;
    }
    return from == to ? PFA_E_NO_ERROR : replace(to, index, index, component(from, index));
}

pfa_status pfa_copy_location(const vek_file *from, vek_file *to) {
    if (pfa_is_valid(from) == 0 || pfa_is_valid(to) == 0) {
        return PFA_E_NOT_VALID;
    }
    if ((to->flags & PFA_F_OPEN) != 0) {
        return PFA_E_ERROR;
    }
    if (from == to) {
        return PFA_E_NO_ERROR;
    }
    const pfa_status result =
        replace(to, PFA_HOST, PFA_PATH, pfa_component_text(from, PFA_HOST, PFA_PATH));
    if (result == PFA_E_NO_ERROR) {
        std::memcpy(to->bounds, from->bounds, sizeof(pfa_bounds) * (PFA_PATH + 1));
        to->location_type = from->location_type;
    }
    return result;
}

pfa_status pfa_append_component(const vek_file *record, int index, char *out, std::int16_t *length,
                                int capacity) {
    if (out == nullptr || length == nullptr || pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    const std::string_view part = component(record, index);
    return part.empty() || pfa_append_text(part, out, length, capacity) ? PFA_E_NO_ERROR
                                                                        : PFA_E_ERROR;
}

pfa_status pfa_append_component_lower(const vek_file *record, int index, char *out,
                                      std::int16_t *length, int capacity, int lower) {
    const int start = length != nullptr ? *length : 0;
    const pfa_status result = pfa_append_component(record, index, out, length, capacity);
    if (result == PFA_E_NO_ERROR && lower != 0) {
        pfa_substring_to_lower(out, start, *length);
    }
    return result;
}

pfa_status pfa_get_component(const vek_file *record, int index, char *out, int capacity) {
    if (out != nullptr && capacity > 0) {
        out[0] = '\0';
    }
    std::int16_t length = 0;
    return pfa_append_component(record, index, out, &length, capacity);
}

int pfa_strcat(const char *text, char *out, std::int16_t *length) {
    if (text == nullptr || out == nullptr || length == nullptr) {
        return 0;
    }
    return pfa_append_text({text, strnlen(text, PFA_PATH_SIZE)}, out, length, PFA_PATH_SIZE) ? 1
                                                                                             : 0;
}

void pfa_substring_to_lower(char *text, int from, int to) {
    if (text == nullptr) {
        return;
    }
    for (int i = from < 0 ? 0 : from; i < to; ++i) {
        text[i] = static_cast<char>(lowercase(static_cast<unsigned char>(text[i])));
    }
}

int pfa_last_sep_in_range(const char *text, int low, int high, char separator) {
    if (text == nullptr || low < 0 || high < low) {
        return -1;
    }
    const std::size_t at = range(text, low, high).rfind(separator);
    return at == std::string_view::npos ? -1 : low + static_cast<int>(at);
}

int pfa_last_delimited_range(const char *text, int low, int high, char separator,
                             std::int16_t *start, std::int16_t *end) {
    if (start == nullptr || end == nullptr) {
        return 0;
    }
    *start = -1;
    *end = -1;
    if (text == nullptr || low < 0 || high < low) {
        return 0;
    }
    const std::string_view last = last_element(range(text, low, high), separator);
    *start = static_cast<std::int16_t>(last.data() - text);
    *end = static_cast<std::int16_t>(*start + static_cast<int>(last.size()));
    return last.empty() ? 0 : 1;
}

int pfa_comp_last_delim_range(const vek_file *record, int index, char separator,
                              std::int16_t *start, std::int16_t *end) {
    if (pfa_is_valid(record) == 0 || !is_index(index)) {
        return pfa_last_delimited_range(nullptr, 0, 0, separator, start, end);
    }
    const pfa_bounds &bounds = record->bounds[index];
    return pfa_last_delimited_range(record->text, bounds.start, bounds.end, separator, start, end);
}

pfa_status pfa_get_component_mapping(const vek_file *record, int *host_index, int *device_index,
                                     int *path_index) {
    if (host_index != nullptr) {
        *host_index = pfa_role_index(record, PfaHostIdx);
    }
    if (device_index != nullptr) {
        *device_index = pfa_role_index(record, PfaDeviceIdx);
    }
    if (path_index != nullptr) {
        *path_index = pfa_role_index(record, PfaPathIdx);
    }
    return pfa_is_valid(record) != 0 ? PFA_E_NO_ERROR : PFA_E_NOT_VALID;
}
