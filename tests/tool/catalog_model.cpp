// The catalog that a tree should give, worked out from the tree and the rules alone.
#include "tests/tool/catalog_model.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <strings.h>

#include <dirent.h>
#include <sys/stat.h>

namespace {

struct type_row {
    int code;
    std::string extension;
    std::size_t name_length;
};

const std::vector<type_row> &type_table() {
    static const std::vector<type_row> rows = [] {
        std::vector<type_row> read;
        std::ifstream file(VEK_TYPE_TABLE);
        std::string line;
        std::getline(file, line);
        while (std::getline(file, line)) {
            type_row row;
            std::istringstream(line) >> row.code >> row.extension >> row.name_length;
            read.push_back(row);
        }
        return read;
    }();
    return rows;
}

std::string lower(std::string text) {
    for (char &c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

// The '.' before a version: a number of 16 signed bits without leading zeros at the end.
std::size_t version_dot(const std::string &name) {
    const std::size_t dot = name.rfind('.');
    if (dot == name.npos || dot == 0) {
        return name.npos;
    }
    std::string digits = name.substr(dot + 1);
    const bool negative = !digits.empty() && digits[0] == '-';
    if (negative) {
        digits.erase(0, 1);
    }
    const bool number = !digits.empty() && digits[0] != '0' && digits.size() <= 5 &&
                        std::all_of(digits.begin(), digits.end(),
                                    [](unsigned char c) { return std::isdigit(c) != 0; });
    return number && std::stol(digits) <= (negative ? 32768 : 32767) ? dot : name.npos;
}

bool in_alphabet(const std::string &name) {
    return name[0] != '-' && std::all_of(name.begin(), name.end(), [](unsigned char c) {
               return c < 0x80 && (std::isalnum(c) != 0 || c == '_' || c == '-');
           });
}

using place = std::pair<dev_t, ino_t>;

void read_directory(const std::string &directory, const std::string &relative,
                    std::vector<place> above, const std::set<std::string> &passed_over,
                    std::vector<model_member> *members) {
    struct stat status;
    DIR *listing = opendir(directory.c_str());
    if (listing == nullptr || fstat(dirfd(listing), &status) != 0) {
        return;
    }
    above.emplace_back(status.st_dev, status.st_ino);
    while (const dirent *entry = readdir(listing)) {
        const std::string name = entry->d_name;
        const std::string path = directory + "/" + name;
        if (name == "." || name == "..") {
            continue;
        }
        if (stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
            const std::string below = relative.empty() ? name : relative + "/" + name;
            const place here(status.st_dev, status.st_ino);
            if (std::find(above.begin(), above.end(), here) == above.end() &&
                !passed_over.contains(below)) {
                read_directory(path, below, above, passed_over, members);
            }
        } else if (model_member member = model_of_name(name); member.type > 0) {
            member.path = relative;
            members->push_back(member);
        }
    }
    closedir(listing);
}

// The names of these types may hold any character.
bool takes_any_name(int type) {
    return type == 134 || type == 183 || type == 819 || type == 832 || type == 1002 || type == 1006;
}

} // namespace

model_member model_of_name(const std::string &file_name) {
    const model_member none{0, "", "", ""};
    const std::string rest = file_name.substr(0, version_dot(file_name));
    const std::size_t dot = rest.rfind('.');
    if (rest[0] == '.' || dot == rest.npos || dot + 1 == rest.size()) {
        return none;
    }
    const std::string name = rest.substr(0, dot);
    const std::string extension = rest.substr(dot + 1);
    for (const type_row &row : type_table()) {
        if (strcasecmp(row.extension.c_str(), extension.c_str()) == 0 && extension != "-") {
            const bool fits = name.size() < 32 || name.size() < row.name_length;
            const bool valid = in_alphabet(name) || takes_any_name(row.code);
            return row.code > 0 && fits && valid
                       ? model_member{row.code, name, "", lower(row.extension)}
                       : none;
        }
    }
    return none;
}

model_library read_library(const std::string &root, const std::set<std::string> &passed_over) {
    model_library library{root, {}};
    read_directory(root, "", {}, passed_over, &library.members);
    std::sort(library.members.begin(), library.members.end());
    return library;
}

std::string model_library::catalog() const {
    std::string name = root.substr(root.rfind('/') + 1).substr(0, 31);
    std::replace(name.begin(), name.end(), '.', '_');
    std::ostringstream text;
    text << std::left;
    const auto field = [&text](const auto &value, int width) {
        text.width(width);
        text << value;
    };
    const auto header = [&] {
        field(name, 32);
        field(members.size(), 28);
        field(260, 4);
        text << '\n';
    };
    header();
    for (const model_member &member : members) {
        field(member.type, 4);
        field(member.name, 32);
        field(member.path, 224);
        text << '\n';
    }
    header();
    return text.str();
}

std::string model_library::duplicate_report() const {
    std::string text;
    const auto file = [this](const model_member &member) {
        return root + "/" + (member.path.empty() ? "" : member.path + "/") + member.name + "." +
               member.extension + "\n";
    };
    for (auto first = members.begin(); first != members.end(); ++first) {
        for (auto second = first + 1; second != members.end(); ++second) {
            if (first->type == second->type && first->name == second->name) {
                text += "Warning: Found duplicate filenames, " + second->name + " of type " +
                        second->extension + ",\nDuplicate file 1: " + file(*first) +
                        "Duplicate file 2: " + file(*second) +
                        "Please rename either one of these files and regenerate the catalog "
                        "again.\n";
            }
        }
    }
    return text;
}
