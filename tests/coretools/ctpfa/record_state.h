// A record as one line of text: "path|name|extension|version|type".
#pragma once

#include "coretools/ctpfa/pfacomponent.h"

#include <cstring>
#include <sstream>
#include <string>

inline std::string part(const vek_file *record, int index) {
    char text[PFA_PATH_SIZE] = "";
    pfa_get_component(record, index, text, PFA_PATH_SIZE);
    return text;
}

inline std::string state_of(const vek_file *record) {
    return part(record, PFA_PATH) + "|" + part(record, PFA_NAME) + "|" +
           part(record, PFA_EXTENSION) + "|" + std::to_string(record->version) + "|" +
           std::to_string(record->type);
}

inline void put_state(vek_file *record, const std::string &state) {
    std::istringstream in(state);
    std::string field;
    for (const int index : {PFA_PATH, PFA_NAME, PFA_EXTENSION}) {
        std::getline(in, field, '|');
        pfa_put_component(record, index, field.c_str());
    }
    in >> record->version;
    in.ignore(1);
    in >> record->type;
}

inline bool same_bytes(const vek_file &one, const vek_file *other) {
    return std::memcmp(&one, other, sizeof one) == 0;
}
