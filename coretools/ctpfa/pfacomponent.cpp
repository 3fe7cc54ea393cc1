// The component layer: every change and every look at the text of a path record.
#include "coretools/ctpfa/pfacomponent.h"

#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfaloc_call.h"
#include "coretools/ctstrutil/char_case.h"

#include <cstring>

#include <strings.h>

namespace {

bool is_index(int index) {
    return index >= 0 && index < PFA_COMPONENTS;
}

// The component as a range of the text; empty for a bad record or index.
struct piece {
    const char *text;
    int length;
};

piece component(const vek_file *record, int index) {
    if (pfa_is_valid(record) == 0 || !is_index(index)) {
        return {"", 0};
    }
    const pfa_bounds &bounds = record->bounds[index];
    return {record->text + bounds.start, bounds.end - bounds.start};
}

// Replaces destination[offset, offset + replaced) by the source range. The destination holds length
// characters and a zero, and capacity bytes at most. Changes nothing and answers false when the
// offset lies outside or the new length would not be below the capacity.
bool splice(piece source, char *destination, int length, int offset, int replaced, int capacity) {
    if (offset < 0 || offset > length || replaced < 0 || replaced > length - offset ||
        source.length < 0 || source.length >= capacity - (length - replaced)) {
        return false;
    }
    const int tail = length - offset - replaced;
    std::memmove(destination + offset + source.length, destination + offset + replaced,
                 static_cast<std::size_t>(tail));
    std::memcpy(destination + offset, source.text, static_cast<std::size_t>(source.length));
    destination[length - replaced + source.length] = '\0';
    return true;
}

// Replaces the text of the components first to last and moves the later ones. The bounds inside a
// range of several components are left to the caller.
pfa_status replace(vek_file *record, int first, int last, piece source) {
    const int start = record->bounds[first].start;
    const int end = record->bounds[last].end;
    if (!splice(source, record->text, record->bounds[PFA_COMPONENTS - 1].end, start, end - start,
                PFA_PATH_SIZE)) {
        return PFA_E_INVALID_INPUT;
    }
    const int shift = source.length - (end - start);
    record->bounds[last].end = static_cast<std::int16_t>(end + shift);
    for (int i = last + 1; i < PFA_COMPONENTS; ++i) {
        record->bounds[i].start = static_cast<std::int16_t>(record->bounds[i].start + shift);
        record->bounds[i].end = static_cast<std::int16_t>(record->bounds[i].end + shift);
    }
    return PFA_E_NO_ERROR;
}

// A length below 0 stands for a text that does not have the length asked for.
pfa_status put(vek_file *record, int index, piece source) {
    if (record == nullptr || source.text == nullptr) {
        return PFA_E_INVALID_INPUT;
    }
    if (pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    return is_index(index) ? replace(record, index, index, source) : PFA_E_INVALID_INPUT;
}

// A text to compare with a component: length characters, all of it for -1.
piece text_piece(const char *text, int length) {
    if (text == nullptr) {
        return {"", 0};
    }
    return {text, length == -1 ? static_cast<int>(std::strlen(text)) : length};
}

pfa_status end_character(const vek_file *record, int index, bool last, char *character) {
    if (pfa_is_valid(record) == 0) {
        return PFA_E_NOT_VALID;
    }
    const piece part = component(record, index);
    if (part.length == 0) {
        return PFA_E_NOT_FOUND;
    }
    if (character != nullptr) {
        *character = part.text[last ? part.length - 1 : 0];
    }
    return PFA_E_NO_ERROR;
}

} // namespace

pfa_status pfa_put_component_len(vek_file *record, int index, const char *text, int length) {
    const bool holds_length = text != nullptr && length >= 0 && length < PFA_PATH_SIZE &&
                              std::memchr(text, '\0', static_cast<std::size_t>(length)) == nullptr;
    return put(record, index, {text, holds_length ? length : -1});
}

pfa_status pfa_put_component(vek_file *record, int index, const char *text) {
    const int length = text != nullptr ? static_cast<int>(strnlen(text, PFA_PATH_SIZE)) : 0;
    return put(record, index, {text, length});
}

int pfa_component_length(const vek_file *record, int index) {
    return component(record, index).length;
}

int pfa_has_component(const vek_file *record, int index) {
    return component(record, index).length > 0 ? 1 : 0;
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
    const piece mine = component(record, index);
    const piece other = text_piece(text, length);
    if (mine.length != other.length) {
        return mine.length - other.length;
    }
    return std::strncmp(mine.text, other.text, static_cast<std::size_t>(mine.length));
}

int pfa_component_u_strcmp(const vek_file *record, int index, const char *text, int length) {
    const piece mine = component(record, index);
    const piece other = text_piece(text, length);
    if (mine.length != other.length) {
        return mine.length - other.length;
    }
    return strncasecmp(mine.text, other.text, static_cast<std::size_t>(mine.length));
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
        replace(to, PFA_HOST, PFA_PATH, {from->text, from->bounds[PFA_PATH].end});
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
    const piece part = component(record, index);
    if (part.length == 0) {
        return PFA_E_NO_ERROR;
    }
    if (!splice(part, out, *length, *length, 0, capacity)) {
        return PFA_E_ERROR;
    }
    *length = static_cast<std::int16_t>(*length + part.length);
    return PFA_E_NO_ERROR;
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
    const piece source = {text, static_cast<int>(strnlen(text, PFA_PATH_SIZE))};
    if (!splice(source, out, *length, *length, 0, PFA_PATH_SIZE)) {
        return 0;
    }
    *length = static_cast<std::int16_t>(*length + source.length);
    return 1;
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
    if (text == nullptr || low < 0) {
        return -1;
    }
    for (int i = high - 1; i >= low; --i) {
        if (text[i] == separator) {
            return i;
        }
    }
    return -1;
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
    const int last = high > low && text[high - 1] == separator ? high - 1 : high;
    const int before = pfa_last_sep_in_range(text, low, last, separator);
    *start = static_cast<std::int16_t>(before < 0 ? low : before + 1);
    *end = static_cast<std::int16_t>(last);
    return *start < *end ? 1 : 0;
}

int pfa_comp_last_delim_range(const vek_file *record, int index, char separator,
                              std::int16_t *start, std::int16_t *end) {
    if (pfa_is_valid(record) == 0 || !is_index(index)) {
        return pfa_last_delimited_range(nullptr, 0, 0, separator, start, end);
    }
    const pfa_bounds &bounds = record->bounds[index];
    return pfa_last_delimited_range(record->text, bounds.start, bounds.end, separator, start, end);
}

pfa_status pfa_get_component_mapping(vek_file *record, int *host_index, int *device_index,
                                     int *path_index) {
    const struct {
        int *index;
        pfa_method method;
    } roles[] = {{host_index, PfaHostIdx}, {device_index, PfaDeviceIdx}, {path_index, PfaPathIdx}};
    for (const auto &role : roles) {
        if (role.index != nullptr) {
            const int index = pfaloc_call_F(record, role.method);
            *role.index = index >= PFA_HOST && index <= PFA_PATH ? index : -1;
        }
    }
    return pfa_is_valid(record) != 0 ? PFA_E_NO_ERROR : PFA_E_NOT_VALID;
}
