// Random trees: builds a part library from the input, catalogs it, and compares the catalog with an
// independent walk of the tree. Members may be missing below a directory that a warning names, and
// nowhere else; the catalog holds nothing more.
#include "apps/lib_ctg/ctgcore.h"
#include "coretools/ctfileutil/objextension.h"
#include "fuzz/fuzz_check.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>
#include <strings.h>
#include <sys/mman.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::string make_name(FuzzedDataProvider &input) {
    static const char *const pieces[] = {
        "bolt",   "part_01", "Bolt",     "engine", "a",
        "-x",     "^",       "..",       "$HOME",  "~",
        "\\",     ":",       "::",       " ",      "\t",
        "\n",     "\xe4",    "\x8f\xb0", ".",      "a_name_of_thirty_two_characters_",
        ".prt",   ".PRT",    ".asm",     ".igs",   ".dir",
        ".facet", ".txt",    ".1",       ".12",    ".07",
        "-3",     ".32768",  ".exp",
    };
    std::string name;
    const int count = input.ConsumeIntegralInRange(1, 4);
    for (int i = 0; i < count; ++i) {
        name += input.PickValueInArray(pieces);
    }
    if (input.ConsumeIntegralInRange(0, 15) == 0) {
        name += input.ConsumeRandomLengthString(300);
    }
    std::replace(name.begin(), name.end(), '/', '_');
    return name.c_str();
}

// Creates files, directories and links, at most 60 and four levels deep.
void build_tree(FuzzedDataProvider &input, const fs::path &root) {
    std::error_code ignored;
    fs::path here = root;
    int depth = 0;
    for (int i = 0; i < 60 && input.remaining_bytes() > 0; ++i) {
        const int action = input.ConsumeIntegralInRange(0, 5);
        if (action == 0 && depth > 0) {
            here = here.parent_path();
            --depth;
            continue;
        }
        const fs::path path = here / make_name(input);
        if (action == 1 && depth < 4) {
            if (fs::create_directory(path, ignored)) {
                here = path;
                ++depth;
            }
        } else if (action == 2) {
            fs::create_symlink(input.ConsumeBool() ? "." : "nowhere", path, ignored);
        } else if (!fs::exists(path, ignored)) {
            std::ofstream file(path);
        }
    }
}

struct member {
    int type;
    std::string name;
    std::string directory;
    auto operator<=>(const member &) const = default;
};

std::string cut_version(const std::string &name) {
    const size_t at = name.find_last_of('.');
    if (at == std::string::npos || at == 0) {
        return name;
    }
    size_t digit = at + 1;
    const bool negative = digit < name.size() && name[digit] == '-';
    digit += negative;
    const std::string number = name.substr(digit);
    const bool digits = std::all_of(number.begin(), number.end(),
                                    [](unsigned char c) { return c >= '0' && c <= '9'; });
    if (number.empty() || number[0] == '0' || !digits || number.size() > 5 ||
        std::stol(number) > (negative ? 32768 : 32767)) {
        return name;
    }
    return name.substr(0, at);
}

// Returns the member that a plain file of this name is; of type OBJ_TYPE_NO_MEMBER if it is none.
member as_member(const std::string &file, const std::string &directory) {
    const member none{OBJ_TYPE_NO_MEMBER, "", ""};
    if (file[0] == '.') {
        return none;
    }
    const std::string rest = cut_version(file);
    const size_t dot = rest.find_last_of('.');
    if (dot == std::string::npos || dot == 0 || dot + 1 == rest.size()) {
        return none;
    }
    const std::string name = rest.substr(0, dot);
    const int type = extension_to_type(rest.c_str() + dot + 1);
    const bool plain = name[0] != '-' && std::all_of(name.begin(), name.end(), [](unsigned char c) {
                           return (c < 0x80 && std::isalnum(c)) || c == '_' || c == '-';
                       });
    if (type < 1 || (!plain && !type_to_weird_chars_OK(type)) ||
        (name.size() >= 32 && name.size() >= static_cast<size_t>(type_to_name_length(type)))) {
        return none;
    }
    return {type, name, directory};
}

// True if a warning says that this file could not be looked at. False if that warning could be the
// first line of another file's, whose name goes on with a line feed.
bool is_warned_of(const fs::path &file, const std::string &output) {
    const std::string name = file.filename().string() + "\n";
    for (const fs::directory_entry &other : fs::directory_iterator(file.parent_path())) {
        if (other.path().filename().string().starts_with(name)) {
            return false;
        }
    }
    return output.find("Warning: No access to " + file.string() + "\n") != std::string::npos;
}

// Collects every member below `directory`. Those below a directory that a warning names are not
// required.
void walk(const fs::path &directory, const std::string &relative, const std::string &output,
          bool excused, std::multiset<member> &all, std::multiset<member> &required) {
    for (const fs::directory_entry &entry : fs::directory_iterator(directory)) {
        const std::string name = entry.path().filename().string();
        const bool named = output.find(entry.path().string()) != std::string::npos;
        std::error_code broken;
        if (entry.is_directory(broken)) {
            // A link to an ancestor: the scan warns of a loop.
            if (!entry.is_symlink()) {
                walk(entry.path(), relative.empty() ? name : relative + "/" + name, output,
                     excused || named, all, required);
            } else {
                FUZZ_CHECK(named || excused);
            }
            continue;
        }
        FUZZ_CHECK(broken || !is_warned_of(entry.path(), output));
        const member found = as_member(name, relative);
        if (found.type >= 1) {
            all.insert(found);
            if (!excused && !named) {
                required.insert(found);
            }
        }
    }
}

std::string read_all(const fs::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string padded(std::string text, size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

// Checks that the catalog holds lines of the expected members, each once and in order, between two
// equal headers. The text is matched from the front, since a name may hold line feeds.
void check_catalog(const std::string &catalog, const std::multiset<member> &all,
                   const std::multiset<member> &required) {
    std::multiset<member> missing;
    size_t lines = 0;
    size_t at = 65;
    for (const member &expected : all) {
        const std::string line = padded(std::to_string(expected.type), 4) +
                                 padded(expected.name, 32) + padded(expected.directory, 224) + "\n";
        if (catalog.compare(at, line.size(), line) == 0) {
            at += line.size();
            ++lines;
        } else {
            missing.insert(expected);
        }
    }
    const std::string header =
        padded("library", 32) + padded(std::to_string(lines), 28) + padded("260", 4) + "\n";
    FUZZ_CHECK(catalog.compare(0, 65, header) == 0);
    FUZZ_CHECK(catalog.size() == at + 65 && catalog.compare(at, 65, header) == 0);
    for (const member &absent : missing) {
        FUZZ_CHECK(all.count(absent) - missing.count(absent) >= required.count(absent));
    }
}

// Returns a file in memory that standard output goes to, so that the warnings can be read.
int captured_output() {
    static const int file = [] {
        const int descriptor = memfd_create("stdout", 0);
        FUZZ_CHECK(descriptor >= 0 && dup2(descriptor, STDOUT_FILENO) >= 0);
        return descriptor;
    }();
    return file;
}

std::string take_output() {
    std::fflush(stdout);
    const int file = captured_output();
    std::string text(static_cast<size_t>(lseek(file, 0, SEEK_END)), '\0');
    FUZZ_CHECK(pread(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
    FUZZ_CHECK(ftruncate(file, 0) == 0 && lseek(file, 0, SEEK_SET) == 0);
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size) {
    static const fs::path scratch = [] {
        std::string name = (fs::temp_directory_path() / "fuzz_tree.XXXXXX").string();
        FUZZ_CHECK(mkdtemp(name.data()) != nullptr);
        static const std::string kept = name;
        std::atexit([] { fs::remove_all(kept); });
        return fs::path(name);
    }();
    captured_output();
    const fs::path root = scratch / "library";
    fs::create_directory(root);
    FuzzedDataProvider input(data, size);
    build_tree(input, root);

    char root_text[260];
    std::snprintf(root_text, sizeof root_text, "%s", root.c_str());
    const int result = make_catalog_file(root_text);
    const std::string output = take_output();
    FUZZ_CHECK(result == 1);

    std::multiset<member> all;
    std::multiset<member> required;
    walk(root, "", output, false, all, required);
    check_catalog(read_all(root / "library.ctg.1"), all, required);
    fs::remove_all(root);
    return 0;
}
