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
    int program = open(VEK_TOOL, O_RDONLY);
    run.arguments.insert(run.arguments.begin(), "/dev/fd/" + std::to_string(program));
    if (VEK_EMULATOR[0] != '\0') {
        program = open(VEK_EMULATOR, O_RDONLY | O_CLOEXEC);
        run.arguments.insert(run.arguments.begin(), "emulator");
    }
    run.prepare();
    if (chdir(run.directory.c_str()) == 0) {
        alarm(LONGEST_RUN_SECONDS);
        fexecve(program, null_ended(run.arguments).data(), null_ended(run.environment).data());
    }
    std::abort(); // not started
}

} // namespace

scratch_library::scratch_library(const std::string &name) : root(path + name) {
    dir("", 0777);
    dir(name, 0777);
    path = root + "/";
}

void scratch_library::files(const std::vector<std::string> &names, const std::string &before,
                            const std::string &after) const {
    for (const std::string &name : names) {
        file(before + name + after);
    }
}

std::string scratch_library::catalog_path() const {
    return path + catalog_name(root) + ".ctg.1";
}

std::string catalog_name(const std::string &root) {
    std::string name = fs::path(root).filename().string().substr(0, 31);
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
}

void PrintTo(const child_result &result, std::ostream *out) {
    *out << "status " << result.status << ", output:\n" << result.out << result.err;
}

child_result run_tool(const tool_run &run) {
    return run_in_child([&] { become_tool(run); });
}

child_result build_catalog(const std::string &library_dir, tool_run run) {
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
