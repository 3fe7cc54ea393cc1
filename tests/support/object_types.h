// The object types as the tests expect them: the rows of object_types.txt.
#pragma once

#include <set>
#include <string>
#include <vector>

struct type_row {
    int code = 0;
    std::string extension; // upper case; empty for none
    int name_length = 32;
};
extern const std::vector<type_row> type_table;

// The codes of the types whose names may hold any character.
extern const std::set<int> types_with_any_name;
