#include "tests/support/object_types.h"

#include <fstream>

const std::vector<type_row> type_table = [] {
    std::vector<type_row> rows;
    std::ifstream file(VEK_TYPE_TABLE);
    std::string heading;
    std::getline(file, heading);
    for (type_row row; file >> row.code >> row.extension >> row.name_length;) {
        row.extension = row.extension == "-" ? "" : row.extension;
        rows.push_back(row);
    }
    return rows;
}();

const std::set<int> types_with_any_name = {134, 183, 819, 832, 1002, 1006};
