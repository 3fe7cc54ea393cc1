// The catalog that a tree should give, worked out from the tree and the rules alone: nothing here
// comes from the code under test.
#pragma once

#include <set>
#include <string>
#include <vector>

struct model_member {
    int type;
    std::string name;
    std::string path;
    std::string extension; // lower case

    auto operator<=>(const model_member &) const = default;
};

struct model_library {
    std::string root;
    std::vector<model_member> members; // in catalog order

    std::string catalog() const;
    std::string duplicate_report() const;
};

// The member that a file name makes; type 0 when it makes none.
model_member model_of_name(const std::string &file_name);

// Reads the tree at root through the host. Directories in passed_over (relative to the root) are
// not entered, and no directory is entered below itself.
model_library read_library(const std::string &root, const std::set<std::string> &passed_over = {});
