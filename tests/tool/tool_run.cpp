// Scratch libraries, and runs of the built tool on them.
#include "tests/tool/tool_run.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <sstream>

#include <fcntl.h>
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
    int program = open(VEK_TOOL, O_RDONLY | O_CLOEXEC);
    run.arguments.insert(run.arguments.begin(), "vek_build_librar_ctg");
    if (VEK_EMULATOR[0] != '\0') {
        const int tool = dup(program); // stays open for the emulator
        program = open(VEK_EMULATOR, O_RDONLY | O_CLOEXEC);
        run.arguments[0] = "/dev/fd/" + std::to_string(tool);
        run.arguments.insert(run.arguments.begin(), "emulator");
    }
    run.prepare();
    if (chdir(run.directory.c_str()) == 0) {
        alarm(LONGEST_RUN_SECONDS);
        fexecve(program, null_ended(run.arguments).data(), null_ended(run.environment).data());
    }
    std::_Exit(CHILD_NOT_STARTED);
}

} // namespace

scratch_library::scratch_library(const std::string &name) : library(name + "/"), root(tree(name)) {
    tree.dir("", 0777);
    tree.dir(name, 0777);
}

std::string scratch_library::catalog_path() const {
    return path(catalog_name(root) + ".ctg.1");
}

std::string catalog_name(const std::string &root) {
    std::string name = fs::path(root).filename().string().substr(0, 31);
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
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

std::multiset<std::string> lines_of(const std::string &text) {
    std::multiset<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.insert(line);
    }
    return lines;
}
