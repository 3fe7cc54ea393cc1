#include "tests/support/scratch_tree.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include <stdlib.h>

namespace fs = std::filesystem;

std::string read_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

scratch_tree::scratch_tree(const std::string &where) : top(where + "/vek_test_XXXXXX") {
    path = std::string(mkdtemp(top.data())) + "/";
    dir("");
}

scratch_tree::~scratch_tree() {
    // A test may have left directories that not even their owner can read.
    std::error_code ignored;
    fs::permissions(top, fs::perms::owner_all, ignored);
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(top, ignored)) {
        if (entry.is_directory(ignored) && !entry.is_symlink(ignored)) {
            fs::permissions(entry, fs::perms::owner_all, ignored);
        }
    }
    fs::remove_all(top, ignored);
}

std::string scratch_tree::dir(const std::string &name, unsigned mode) const {
    fs::create_directories(path + name);
    fs::permissions(path + name, fs::perms(mode));
    return path + name;
}

std::string scratch_tree::file(const std::string &name, const std::string &text,
                               unsigned mode) const {
    fs::create_directories(fs::path(path + name).parent_path());
    std::ofstream(path + name, std::ios::binary) << text;
    fs::permissions(path + name, fs::perms(mode));
    return path + name;
}

std::string scratch_tree::link(const std::string &name, const std::string &target) const {
    fs::create_directories(fs::path(path + name).parent_path());
    fs::create_symlink(target, path + name);
    return path + name;
}
