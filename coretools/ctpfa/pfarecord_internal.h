// What the files that read and write path records share.
#pragma once

#include "coretools/ctpfa/pfainfo.h"
#include "coretools/ctpfa/pfaloc_call.h"

#include <string_view>

// The text of components `first` to `last` of a valid record.
inline std::string_view pfa_component_text(const vek_file *record, int first, int last) {
    const int start = record->bounds[first].start;
    return {record->text + start, static_cast<std::size_t>(record->bounds[last].end - start)};
}

inline std::string_view pfa_component_text(const vek_file *record, int index) {
    return pfa_component_text(record, index, index);
}

// Appends `text` and a terminating zero to out[capacity] at *length. Returns false, and changes
// nothing, if they do not fit.
inline bool pfa_append_text(std::string_view text, char *out, std::int16_t *length, int capacity) {
    if (*length < 0 || static_cast<int>(text.size()) >= capacity - *length) {
        return false;
    }
    text.copy(out + *length, text.size());
    *length = static_cast<std::int16_t>(*length + static_cast<int>(text.size()));
    out[*length] = '\0';
    return true;
}

// Stores `text`, which holds no zero, in a component of a valid record. Fails with
// PFA_E_INVALID_INPUT, and changes nothing, if it does not fit.
pfa_status pfa_put_text(vek_file *record, int index, std::string_view text);

// Makes `directory` the directory that a valid record lies in; of a directory, a copy. Fails with
// PFA_E_INVALID_INPUT if it has no room for the extension of directories.
pfa_status pfa_copy_directory(const vek_file *record, vek_file *directory);

// True for the index of a component that can hold a host, a device or a path.
constexpr bool pfa_is_location_index(int index) {
    return index >= PFA_HOST && index <= PFA_PATH;
}

// Returns the component in which the record's location type keeps what `method` (PfaHostIdx,
// PfaDeviceIdx or PfaPathIdx) asks for, -1 if it keeps none.
template <class Method>
int pfa_role_index(const vek_file *record, Method method) {
    const int index = pfaloc_call_F(pfaloc_record(record), method);
    return pfa_is_location_index(index) ? index : -1;
}

// Runs `change` on a record and puts the record back if it fails.
template <class Change>
pfa_status pfa_all_or_nothing(vek_file *record, Change change) {
    const vek_file before = *record;
    const pfa_status result = change();
    if (result != PFA_E_NO_ERROR) {
        *record = before;
    }
    return result;
}
