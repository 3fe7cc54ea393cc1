// Scratch libraries, and runs of the built tool on them.
#pragma once

#include "tests/support/child_process.h"
#include "tests/support/scratch_tree.h"

#include <set>
#include <string>
#include <vector>

// A scratch directory that anybody may enter, with an empty library in it. Names are relative to
// the library.
struct scratch_library : scratch_tree {
    explicit scratch_library(const std::string &name = "mylib");

    // Creates empty files, each named `before` + name + `after`.
    void files(const std::vector<std::string> &names, const std::string &before = "",
               const std::string &after = "") const;
    std::string catalog_path() const;
    std::string catalog() const { return read_file(catalog_path()); } // empty without one

    std::string root; // the path of the library, without the '/' that path ends in
};

// What the catalog of a library is called in its header and, with ".ctg.1", on the disk.
std::string catalog_name(const std::string &root);

struct tool_run {
    std::vector<std::string> arguments = {};
    std::vector<std::string> environment = {}; // the whole of it, "NAME=value"
    std::string directory = "/";               // where the tool is started
    void (*prepare)() = [] {};                 // called in the process that becomes the tool
};

void PrintTo(const child_result &result, std::ostream *out);

child_result run_tool(const tool_run &run);
child_result build_catalog(const std::string &library_dir, tool_run run = {});

std::multiset<std::string> lines_of(const std::string &text);
