// Scratch libraries, and runs of the built tool on them.
#pragma once

#include "tests/support/child_process.h"
#include "tests/support/scratch_tree.h"

#include <set>
#include <string>
#include <vector>

// A scratch directory that anybody may enter, with an empty library in it. Names are relative to
// the library.
struct scratch_library {
    explicit scratch_library(const std::string &name = "mylib");

    std::string path(const std::string &name) const { return root + "/" + name; }

    // Each creates the directories above as well.
    void directory(const std::string &name) const { tree.dir(library + name); }
    void file(const std::string &name, const std::string &text = "") const {
        tree.file(library + name, text);
    }
    void link(const std::string &name, const std::string &target) const {
        tree.link(library + name, target);
    }

    std::string catalog_path() const;
    std::string catalog() const { return read_file(catalog_path()); } // empty without one

    scratch_tree tree;
    std::string library; // its name and '/'
    std::string top = tree.path.substr(0, tree.path.size() - 1);
    std::string root;
};

// What the catalog of a library is called in its header and, with ".ctg.1", on the disk.
std::string catalog_name(const std::string &root);

struct tool_run {
    std::vector<std::string> arguments = {};
    std::vector<std::string> environment = {}; // the whole of it, "NAME=value"
    std::string directory = "/";               // where the tool is started
    void (*prepare)() = [] {};                 // called in the process that becomes the tool
};

struct tool_result {
    int status; // exit status; minus the number of a signal, which a hang ends in too
    std::string output;

    bool operator==(const tool_result &) const = default;
};
void PrintTo(const tool_result &result, std::ostream *out);

tool_result run_tool(const tool_run &run);
tool_result build_catalog(const std::string &library_dir, tool_run run = {});

std::multiset<std::string> lines_of(const std::string &text);
