// The catalog that a tree should give, worked out from the tree and the rules alone: nothing here
// comes from the code under test.
#pragma once

#include "tests/tool/tool_run.h"

struct model_member {
    int type = 0;
    std::string name;
    std::string path;
    std::string extension; // lower case

    auto operator<=>(const model_member &) const = default;
};

struct model_library {
    std::string root;
    std::vector<model_member> members; // in catalog order
    std::string warnings;              // of the scan; their order is that of the host

    std::string catalog() const;
    std::string duplicate_report() const;
};

// Reads the tree at root through the host. Names in refused are relative to the root, and end in a
// '/' where the warning does; such directories are not entered.
model_library read_library(const std::string &root, const std::set<std::string> &refused = {});

// Runs the tool on a library that it can catalog, and compares with the model.
void expect_catalog(const scratch_library &library, const std::set<std::string> &refused = {},
                    const tool_run &run = {});
