// The catalog that a tree should give, worked out from the tree and the rules alone.
#include "tests/tool/catalog_model.h"

#include "tests/support/object_types.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include <gtest/gtest.h>
#include <strings.h>

namespace fs = std::filesystem;

namespace {

// The longest paths that are read. A directory's record takes four characters more.
constexpr std::size_t LONGEST_FILE = 259;
constexpr std::size_t LONGEST_DIRECTORY = 255;

constexpr char ALPHABET[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-";

// A version is a number of 16 signed bits, not 0 and without leading zeros.
std::string without_version(const std::string &name) {
    const std::size_t dot = name.rfind('.');
    const long number = std::strtol(name.substr(dot + 1).c_str(), nullptr, 10);
    const bool is_version = number != 0 && number == static_cast<std::int16_t>(number) &&
                            name.substr(dot + 1) == std::to_string(number);
    return name.substr(0, is_version ? dot : name.npos);
}

// The member that a file name makes; type 0 when it makes none.
model_member model_of_name(const std::string &file_name) {
    const std::string rest = without_version(file_name);
    const std::size_t dot = rest.rfind('.');
    if (dot == rest.npos || rest[0] == '.') {
        return {};
    }
    const std::string name = rest.substr(0, dot);
    std::string extension = rest.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(), ::tolower);
    const auto row = std::find_if(type_table.begin(), type_table.end(), [&](const type_row &at) {
        return strcasecmp(at.extension.c_str(), extension.c_str()) == 0;
    });
    if (row == type_table.end() || row->code <= 0 || extension.empty() ||
        static_cast<int>(name.size()) >= std::max(32, row->name_length)) {
        return {};
    }
    const bool valid = types_with_any_name.contains(row->code) ||
                       (name[0] != '-' && name.find_first_not_of(ALPHABET) == name.npos);
    return valid ? model_member{row->code, name, "", extension} : model_member();
}

// above holds the directories from the root down; relative names the last, and ends in '/' unless
// that is the root.
void read_directory(model_library *library, const std::string &relative,
                    std::vector<fs::path> above, const std::set<std::string> &refused) {
    above.push_back(library->root + "/" + relative);
    for (const fs::directory_entry &entry : fs::directory_iterator(above.back())) {
        const std::string path = entry.path().string();
        const std::string name = entry.path().filename().string();
        const std::string below = relative + name + "/";
        std::error_code error;
        const bool is_dir = entry.is_directory(error);
        const auto is_entry = [&](const fs::path &up) { return fs::equivalent(up, path, error); };
        if (path.size() > (is_dir ? LONGEST_DIRECTORY : LONGEST_FILE)) {
            library->warnings += "Warning: Path too long: " + path + "\n";
        } else if (!is_dir) {
            library->members.push_back(model_of_name(name));
            library->members.back().path = relative.substr(0, relative.rfind('/'));
        } else if (refused.contains(relative + name) || refused.contains(below)) {
            continue;
        } else if (std::any_of(above.begin(), above.end(), is_entry)) {
            library->warnings += "Warning: Directory loop at " + path + "/\n";
        } else {
            read_directory(library, below, above, refused);
        }
    }
}

} // namespace

model_library read_library(const std::string &root, const std::set<std::string> &refused) {
    model_library library{root, {}, ""};
    for (const std::string &name : refused) {
        library.warnings += "Warning: No access to " + root + "/" + name + "\n";
    }
    read_directory(&library, "", {}, refused);
    std::erase_if(library.members, [](const model_member &member) { return member.type == 0; });
    std::sort(library.members.begin(), library.members.end());
    return library;
}

std::string model_library::catalog() const {
    const auto field = [](std::string text, std::size_t width) {
        text.resize(std::max(text.size(), width), ' ');
        return text;
    };
    const std::string header =
        field(catalog_name(root), 32) + field(std::to_string(members.size()), 28) + "260 \n";
    std::string text = header;
    for (const model_member &member : members) {
        text += field(std::to_string(member.type), 4) + field(member.name, 32) +
                field(member.path, 224) + "\n";
    }
    return text + header;
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

void expect_catalog(const scratch_library &library, const std::set<std::string> &refused,
                    const tool_run &run) {
    const child_result result = build_catalog(library.root, run);
    const model_library model = read_library(library.root, refused);
    const std::string report = model.duplicate_report();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(lines_of(result.out), lines_of(model.warnings + report));
    EXPECT_TRUE(result.out.ends_with(report)) << result.out;
    EXPECT_EQ(library.catalog(), model.catalog());
}
