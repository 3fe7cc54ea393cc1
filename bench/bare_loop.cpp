// The least that a program does to write the catalog of a library in the plain way: readdir, one
// stat for each entry, a sort, and one fprintf for each line. The yardstick for the tool.
//
//   bare_loop ROOT CATALOG
//
// Knows the extensions that make_tree uses, and nothing of links, long paths or odd names.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <string>
#include <tuple>
#include <vector>

#include <dirent.h>
#include <sys/stat.h>

namespace {

constexpr struct {
    const char *extension;
    int type;
} TYPES[] = {
    {"PRT", 2},  {"ASM", 1},  {"DRW", 4},  {"SEC", 11},
    {"LAY", 19}, {"MFG", 37}, {"FRM", 33}, {"IGS", 134},
};

struct member {
    int type;
    std::string name;
    const std::string *directory; // below the root
};

std::deque<std::string> directories;
std::vector<member> members;

int type_of(std::string extension) {
    for (char &character : extension) {
        character = static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
    }
    for (const auto &row : TYPES) {
        if (extension == row.extension) {
            return row.type;
        }
    }
    return 0;
}

void take_file(std::string name, const std::string *directory) {
    std::size_t dot = name.rfind('.');
    if (dot != std::string::npos && std::isdigit(static_cast<unsigned char>(name[dot + 1])) != 0) {
        name.resize(dot);
        dot = name.rfind('.');
    }
    if (dot == std::string::npos || dot == 0) {
        return;
    }
    const int type = type_of(name.substr(dot + 1));
    if (type > 0) {
        members.push_back({type, name.substr(0, dot), directory});
    }
}

void scan(const std::string &path, std::size_t root_length) {
    DIR *listing = opendir(path.c_str());
    if (listing == nullptr) {
        return;
    }
    directories.push_back(path.size() > root_length ? path.substr(root_length + 1) : "");
    const std::string *below_root = &directories.back();
    while (const dirent *entry = readdir(listing)) {
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) {
            continue;
        }
        const std::string entry_path = path + "/" + entry->d_name;
        struct stat status;
        if (stat(entry_path.c_str(), &status) != 0) {
            continue;
        }
        if (S_ISDIR(status.st_mode)) {
            scan(entry_path, root_length);
        } else {
            take_file(entry->d_name, below_root);
        }
    }
    closedir(listing);
}

void write_header(std::FILE *catalog, const std::string &name) {
    std::fprintf(catalog, "%-32s%-28zu%-4d\n", name.c_str(), members.size(), 260);
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: bare_loop ROOT CATALOG\n");
        return EXIT_FAILURE;
    }
    const std::string root = argv[1];
    scan(root, root.size());
    std::sort(members.begin(), members.end(), [](const member &a, const member &b) {
        return std::tie(a.type, a.name, *a.directory) < std::tie(b.type, b.name, *b.directory);
    });
    std::FILE *catalog = std::fopen(argv[2], "w");
    if (catalog == nullptr) {
        std::perror(argv[2]);
        return EXIT_FAILURE;
    }
    const std::string name = root.substr(root.rfind('/') + 1);
    write_header(catalog, name);
    for (const member &entry : members) {
        std::fprintf(catalog, "%-4d%-32s%-224s\n", entry.type, entry.name.c_str(),
                     entry.directory->c_str());
    }
    write_header(catalog, name);
    return std::fclose(catalog) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
