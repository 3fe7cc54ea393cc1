// Scratch libraries, and runs of the built tool on them.
#include "tests/tool/tool_run.h"

#include "tests/support/child_process.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <sstream>

#include <fcntl.h>
#include <grp.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr unsigned LONGEST_RUN_SECONDS = 60;
constexpr int CHILD_NOT_STARTED = 99;

std::vector<char *> null_ended(const std::vector<std::string> &texts) {
    std::vector<char *> pointers;
    for (const std::string &text : texts) {
        pointers.push_back(const_cast<char *>(text.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

void become_tool(tool_run run) {
    // Opened before rights are dropped: the ordinary user need not reach the build folder.
    const int tool = open(VEK_TOOL, O_RDONLY | O_CLOEXEC);
    run.prepare();
    run.arguments.insert(run.arguments.begin(), "vek_build_librar_ctg");
    if (chdir(run.directory.c_str()) == 0) {
        alarm(LONGEST_RUN_SECONDS);
        fexecve(tool, null_ended(run.arguments).data(), null_ended(run.environment).data());
    }
    std::_Exit(CHILD_NOT_STARTED);
}

} // namespace

scratch_library::scratch_library(const std::string &name) {
    char pattern[] = "/tmp/vek_tool_XXXXXX";
    top = mkdtemp(pattern);
    root = top + "/" + name;
    fs::create_directory(root);
    fs::permissions(top, fs::perms::all);
    fs::permissions(root, fs::perms::all);
}

scratch_library::~scratch_library() {
    std::error_code ignored;
    fs::remove_all(top, ignored);
}

void scratch_library::directory(const std::string &name) const {
    fs::create_directories(path(name));
}

void scratch_library::file(const std::string &name, const std::string &text) const {
    fs::create_directories(fs::path(path(name)).parent_path());
    std::ofstream(path(name)) << text;
}

void scratch_library::link(const std::string &name, const std::string &target) const {
    fs::create_directories(fs::path(path(name)).parent_path());
    fs::create_symlink(target, path(name));
}

std::string scratch_library::catalog_path() const {
    return path(catalog_name(root) + ".ctg.1");
}

std::string catalog_name(const std::string &root) {
    std::string name = fs::path(root).filename().string().substr(0, 31);
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
}

void drop_rights() {
    constexpr uid_t ORDINARY_USER = 65534;
    if (setgroups(0, nullptr) != 0 || setgid(ORDINARY_USER) != 0 || setuid(ORDINARY_USER) != 0) {
        std::_Exit(CHILD_NOT_STARTED);
    }
}

void PrintTo(const tool_result &result, std::ostream *out) {
    *out << "status " << result.status << ", output:\n" << result.output;
}

tool_result run_tool(const tool_run &run) {
    const child_result child = run_in_child([&] { become_tool(run); });
    std::fputs(child.err.c_str(), stderr);
    return {child.status, child.out};
}

tool_result build_catalog(const std::string &library_dir, tool_run run) {
    run.environment.push_back("VEK_LIBRARY_DIR=" + library_dir);
    return run_tool(run);
}

std::string read_file(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::multiset<std::string> lines_of(const std::string &text) {
    std::multiset<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.insert(line);
    }
    return lines;
}
