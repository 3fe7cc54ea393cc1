// Scratch trees and path records for the tests of streams and directories.
#pragma once

#include <string>
#include <vector>

#include "coretools/ctpfa/vek_file.h"

// A directory of its own, removed with all it holds; the path ends in '/'.
struct scratch_tree {
    scratch_tree();
    ~scratch_tree();
    std::string path;
};

// A record for the length of a scope: parsed from a name, at the end closed and released.
struct scoped_record {
    explicit scoped_record(const std::string &name = "");
    ~scoped_record();
    scoped_record(const scoped_record &) = delete;
    operator vek_file *() const { return file; }
    vek_file *operator->() const { return file; }
    vek_file *file = nullptr;
};

void write_text(const std::string &path, const std::string &text);
// The entries of an open directory from where it stands: name, extension and version; sorted.
std::vector<std::string> read_names(vek_file *directory);
std::string location_of(vek_file *record);
