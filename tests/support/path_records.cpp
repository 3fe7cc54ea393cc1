#include "tests/support/path_records.h"

#include "coretools/ctpfa/pfacomponent.h"
#include "coretools/ctpfa/pfadir.h"
#include "coretools/ctpfa/pfadircache.h"
#include "coretools/ctpfa/pfaget.h"
#include "coretools/ctpfa/pfamem.h"
#include "coretools/ctpfa/pfapars.h"
#include "coretools/ctpfa/pfastream.h"

#include <algorithm>
#include <cstring>
#include <sstream>

#include <gtest/gtest.h>

scoped_record::scoped_record(const std::string &name) {
    if (pfa_alloc_vek_file(&file) == PFA_E_NO_ERROR && !name.empty()) {
        (void)pfa_parse_to_vek_file(file, name.c_str());
    }
}

scoped_record::~scoped_record() {
    (void)pfa_close(file);
    (void)pfa_free_vek_file(&file);
}

std::vector<std::string> read_names(vek_file *directory) {
    std::vector<std::string> names;
    scoped_record entry;
    while (pfa_read_dir(directory, entry) == PFA_E_NO_ERROR) {
        char name[PFA_PATH_SIZE];
        (void)pfa_get_file_name_mixed_case(entry, PFA_NAME_AND_VERSION, name, 0);
        names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> list(const std::string &directory) {
    scoped_record record(directory);
    EXPECT_EQ(pfa_open_dir(record), PFA_E_NO_ERROR) << directory;
    return read_names(record);
}

bool is_cached(const std::string &key) {
    return pfa_dir_from_cache(key.c_str(), nullptr, nullptr, 1, nullptr, 0) != 0;
}

std::string location_of(vek_file *record) {
    char text[PFA_PATH_SIZE] = "";
    (void)pfa_get_location(record, text, nullptr);
    return text;
}

std::string part(const vek_file *record, int index) {
    char text[PFA_PATH_SIZE] = "";
    (void)pfa_get_component(record, index, text, PFA_PATH_SIZE);
    return text;
}

std::string state_of(const vek_file *record) {
    return part(record, PFA_PATH) + "|" + part(record, PFA_NAME) + "|" +
           part(record, PFA_EXTENSION) + "|" + std::to_string(record->version) + "|" +
           std::to_string(record->type);
}

void put_state(vek_file *record, const std::string &state) {
    std::istringstream in(state);
    std::string field;
    for (const int index : {PFA_PATH, PFA_NAME, PFA_EXTENSION}) {
        std::getline(in, field, '|');
        (void)pfa_put_component(record, index, field.c_str());
    }
    char bar;
    in >> record->version >> bar >> record->type;
}

bool same_bytes(const vek_file &one, const vek_file *other) {
    return std::memcmp(&one, other, sizeof one) == 0;
}
