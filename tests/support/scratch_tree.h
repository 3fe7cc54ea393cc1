// A directory tree for one test.
#pragma once

#include <string>

// Empty if there is no such file.
std::string read_file(const std::string &path);

// A new directory below `where`, removed with everything in it.
struct scratch_tree {
    explicit scratch_tree(const std::string &where = "/tmp");
    ~scratch_tree();
    scratch_tree(const scratch_tree &) = delete;

    std::string operator()(const std::string &name = "") const { return path + name; }

    // Each creates the directories above as well, and returns the whole path.
    std::string dir(const std::string &name, unsigned mode = 0755) const;
    std::string file(const std::string &name, const std::string &text = "",
                     unsigned mode = 0644) const;
    std::string link(const std::string &name, const std::string &target) const;

    std::string content(const std::string &name) const { return read_file(path + name); }

    std::string top;  // what is removed
    std::string path; // what names are relative to: top and '/'
};
