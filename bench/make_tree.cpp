// Makes a library tree of a named shape.
//
//   make_tree SHAPE[:COUNT] ROOT
//
//   library      COUNT (2,000) directories of 40 files, in families of 50 directories
//   members      COUNT (80,000) files in one directory
//   directories  COUNT (16,000) directories of one file, 100 to a directory
//   deep         COUNT (200) chains of 60 directories with three files each
//   duplicates   COUNT (50) directories with the same 200 files
//   mixed        COUNT (200) directories of 100 files, names and extensions in mixed case
//   versions     COUNT (200) directories of 10 files in 10 versions
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using std::to_string;

// Eight of ten are members; bare_loop.cpp knows the types.
constexpr const char *EXTENSIONS[] = {"prt", "asm", "drw", "sec", "lay",
                                      "mfg", "frm", "igs", "txt", "PRT.3"};

std::string extension(int i) {
    return std::string(".") + EXTENSIONS[static_cast<std::size_t>(i) % std::size(EXTENSIONS)];
}

void fail(const std::string &path) {
    std::perror(path.c_str());
    std::exit(EXIT_FAILURE);
}

void make_directory(const std::string &path) {
    if (mkdir(path.c_str(), 0755) != 0) {
        fail(path);
    }
}

void make_file(const std::string &path) {
    const int fd = open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY, 0644);
    if (fd < 0 || close(fd) != 0) {
        fail(path);
    }
}

void make_library(const std::string &root, int count) {
    std::string family;
    for (int d = 0; d < count; ++d) {
        if (d % 50 == 0) {
            family = root + "/family_" + to_string(d / 50);
            make_directory(family);
        }
        const std::string group = family + "/group_" + to_string(d % 50);
        make_directory(group);
        for (int i = 0; i < 40; ++i) {
            make_file(group + "/part_" + to_string(d / 50) + "_" + to_string(d % 50) + "_" +
                      to_string(i) + extension(i));
        }
    }
}

void make_members(const std::string &root, int count) {
    for (int i = 0; i < count; ++i) {
        make_file(root + "/part_" + to_string(i) + ".prt");
    }
}

void make_directories(const std::string &root, int count) {
    std::string above;
    for (int d = 0; d < count; ++d) {
        if (d % 100 == 0) {
            above = root + "/d" + to_string(d / 100);
            make_directory(above);
        }
        const std::string directory = above + "/d" + to_string(d % 100);
        make_directory(directory);
        make_file(directory + "/part_" + to_string(d) + ".asm");
    }
}

void make_deep(const std::string &root, int count) {
    for (int chain = 0; chain < count; ++chain) {
        std::string directory = root + "/c" + to_string(chain);
        for (int level = 0; level < 60; ++level, directory += "/d") {
            make_directory(directory);
            for (int i = 0; i < 3; ++i) {
                make_file(directory + "/part_" + to_string(level) + extension(i));
            }
        }
    }
}

void make_duplicates(const std::string &root, int count) {
    for (int d = 0; d < count; ++d) {
        const std::string directory = root + "/supplier_" + to_string(d);
        make_directory(directory);
        for (int i = 0; i < 200; ++i) {
            make_file(directory + "/part_" + to_string(i) + ".prt");
        }
    }
}

void make_mixed(const std::string &root, int count) {
    for (int d = 0; d < count; ++d) {
        const std::string directory = root + "/Group-" + to_string(d);
        make_directory(directory);
        for (int i = 0; i < 100; ++i) {
            const char *stem = i % 3 == 0 ? "/PART_" : i % 3 == 1 ? "/Part_" : "/part_";
            make_file(directory + stem + to_string(i) + (i % 2 == 0 ? ".PRT" : ".Asm"));
        }
    }
}

void make_versions(const std::string &root, int count) {
    for (int d = 0; d < count; ++d) {
        const std::string directory = root + "/group_" + to_string(d);
        make_directory(directory);
        for (int i = 0; i < 100; ++i) {
            make_file(directory + "/part_" + to_string(d) + "_" + to_string(i / 10) + ".prt." +
                      to_string(i % 10 + 1));
        }
    }
}

constexpr struct {
    const char *name;
    int count;
    void (*make)(const std::string &root, int count);
} SHAPES[] = {
    {"library", 2000, make_library},          {"members", 80000, make_members},
    {"directories", 16000, make_directories}, {"deep", 200, make_deep},
    {"duplicates", 50, make_duplicates},      {"mixed", 200, make_mixed},
    {"versions", 200, make_versions},
};

} // namespace

int main(int argc, char **argv) {
    const std::string shape = argc == 3 ? argv[1] : "";
    const std::size_t colon = std::min(shape.find(':'), shape.size());
    const auto *found = std::find_if(std::begin(SHAPES), std::end(SHAPES), [&](const auto &row) {
        return shape.substr(0, colon) == row.name;
    });
    if (found == std::end(SHAPES)) {
        std::fprintf(stderr, "usage: make_tree SHAPE[:COUNT] ROOT\n");
        return EXIT_FAILURE;
    }
    const int count = colon < shape.size() ? std::atoi(shape.c_str() + colon + 1) : found->count;
    make_directory(argv[2]);
    found->make(argv[2], count);
}
